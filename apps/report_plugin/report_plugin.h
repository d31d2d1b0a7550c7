#pragma once

#include <foundation/services/base_report_plugin.h>

/// The report plugin "kyr_report": a page or more about each user, with properties, groups, access rights, media and
/// codes, as HTML and as PDF.
///
/// Tools find it by the interface id in the directories of CPluginHelper, "plugins/kyr_report" beside the tools of a
/// build, "lib/kyr/plugins" of an installation; loadReportGenerator() in apps/common does that:
///
///     QString error;
///     IReportGenerator* generator = loadReportGenerator(error);
///     generator->initialize(QStringLiteral("kyr_console"), model);
///     QByteArray pdf;
///     generator->getUserReportAsPdf(userIds, &pdf);
///
/// PDF is rendered in the process if that has a QGuiApplication. Without one (command-line tools) the helper program
/// kyr_report_pdf does it, looked for beside the application, in "libexec/kyr" of the installation and in PATH.
///
/// A template is HTML with $keys and sections, see section_template.h and report_html.h; without one user_report.html
/// is used. Users who do not exist are left out; a report of nobody is not made.
class ReportPlugin : public CBaseReportPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.brell.Quintor.IReportGenerator/1.0")

public:
    explicit ReportPlugin(QObject* parent = nullptr);

    /// Writes "user-report.html" into the working directory; there is no preview, `flag` is not looked at.
    bool generateUserReport(const QList<CItemId>& userIds, bool flag) override;
    bool getUserReportAsPdf(const QList<CItemId>& userIds, QByteArray* pdf) override;

    /// The report as HTML, empty if none was made. To be called by name where only the interface is known:
    ///
    ///     QMetaObject::invokeMethod(object, "userReportAsHtml", Q_RETURN_ARG(QString, html), Q_ARG(CItemIdList, ids));
    Q_INVOKABLE QString userReportAsHtml(const CItemIdList& userIds);
};
