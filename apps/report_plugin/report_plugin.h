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
/// getUserReportAsPdf() renders in the process if that has a QGuiApplication. Without one (command-line tools), and in
/// reports that are made while the event loop goes on, the helper program kyr_report_pdf does it, looked for beside the
/// application, in "libexec/kyr" of the installation and in PATH. Fonts are those of the machine and those in the
/// model's folder "Fonts"; what is missing is logged.
///
/// A template is HTML with $keys and sections, see section_template.h and report_data.h; "[[Media]]" in it is a word
/// of the report in the language of the default locale. Without a template user_report.html is used. Where the section
/// of a user mentions $pageBreak each user has pages of their own, with the name at their head and a bookmark. Users
/// who do not exist are left out; a report of nobody is not made.
class ReportPlugin : public CBaseReportPlugin, public IReportJobs
{
    Q_OBJECT
    Q_INTERFACES(IReportJobs)
    Q_PLUGIN_METADATA(IID "com.brell.Quintor.IReportGenerator/1.0")

public:
    explicit ReportPlugin(QObject* parent = nullptr);

    /// Writes "user-report.html" into the working directory; there is no preview, `flag` is not looked at.
    bool generateUserReport(const QList<CItemId>& userIds, bool flag) override;
    /// Waits for the helper program where there is no QGuiApplication, as long as that shows signs of life.
    bool getUserReportAsPdf(const QList<CItemId>& userIds, QByteArray* pdf) override;
    QObject* startUserReportAsPdf(const QList<CItemId>& userIds, QObject* parent, const Progress& progress,
                                  const Finished& finished) override;
    QStringList interfaces() const override;

    /// The report as HTML, empty if none was made. To be called by name where only the interface is known:
    ///
    ///     QMetaObject::invokeMethod(object, "userReportAsHtml", Q_RETURN_ARG(QString, html), Q_ARG(CItemIdList, ids));
    Q_INVOKABLE QString userReportAsHtml(const CItemIdList& userIds);

private:
    QByteArray renderedHere(const QList<CItemId>& userIds);
};
