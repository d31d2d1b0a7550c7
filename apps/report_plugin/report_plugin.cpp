#include "report_plugin.h"

#include "pdf_renderer.h"
#include "report_html.h"

#include <foundation/services/base_report_server.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QSaveFile>
#include <QtCore/QStandardPaths>
#include <QtGui/QGuiApplication>

namespace {

constexpr int helperMs = 60000;

QString defaultTemplate()
{
    QFile file(QStringLiteral(":/kyr_report/user_report.html"));
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll());
}

QByteArray renderByHelper(const QString& html, const QString& footer)
{
    const QString name = QStringLiteral("kyr_report_pdf");
    const QDir application(QCoreApplication::applicationDirPath());
    QString program = QStandardPaths::findExecutable(
        name, {application.path(), application.filePath(QStringLiteral(KYR_HELPERS_FROM_TOOLS)),
               QStringLiteral(KYR_HELPERS)});
    if (program.isEmpty())
        program = QStandardPaths::findExecutable(name);
    QProcess helper;
    helper.start(program, {footer});
    helper.write(html.toUtf8());
    helper.closeWriteChannel();
    const bool finished = helper.waitForFinished(helperMs);
    if (!finished || helper.exitStatus() != QProcess::NormalExit || helper.exitCode() != 0) {
        qWarning("ReportPlugin: %s: %s %s", qUtf8Printable(program.isEmpty() ? name : program),
                 qUtf8Printable(helper.errorString()), helper.readAllStandardError().constData());
        return QByteArray();
    }
    return helper.readAllStandardOutput();
}

} // namespace

ReportPlugin::ReportPlugin(QObject* parent)
    : CBaseReportPlugin(QStringLiteral("kyr_report"), parent)
{
}

QString ReportPlugin::userReportAsHtml(const CItemIdList& userIds)
{
    server()->setBaseModel(QStringLiteral("Users"), QStringLiteral("user"), userIds);
    const SectionTemplate::Entry report = userReport(*server());
    if (report.sections.value(QStringLiteral("user")).isEmpty())
        return QString();
    const QString text = server()->reportTemplate();
    return SectionTemplate::fill(text.isEmpty() ? defaultTemplate() : text, report);
}

bool ReportPlugin::generateUserReport(const QList<CItemId>& userIds, bool)
{
    const QByteArray html = userReportAsHtml(userIds).toUtf8();
    QSaveFile file(QStringLiteral("user-report.html"));
    return !html.isEmpty() && file.open(QIODevice::WriteOnly) && file.write(html) == html.size() && file.flush()
           && file.commit();
}

bool ReportPlugin::getUserReportAsPdf(const QList<CItemId>& userIds, QByteArray* pdf)
{
    CBaseReportPlugin::getUserReportAsPdf(userIds, pdf);
    const QString html = userReportAsHtml(userIds);
    if (html.isEmpty() || pdf == nullptr)
        return false;
    const SectionTemplate::Entry report = userReport(*server());
    const QString footer = SectionTemplate::fill(QStringLiteral("$system \u00b7 $created"), report);
    const bool graphical = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
    *pdf = graphical ? PdfRenderer::render(html, footer) : renderByHelper(html, footer);
    return !pdf->isEmpty();
}
