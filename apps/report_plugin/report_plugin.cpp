#include "report_plugin.h"

#include "pdf_renderer.h"
#include "report_job.h"

#include <foundation/services/base_report_server.h>

#include <QtCore/QSaveFile>
#include <QtGui/QGuiApplication>

ReportPlugin::ReportPlugin(QObject* parent)
    : CBaseReportPlugin(QStringLiteral("kyr_report"), parent)
{
}

QString ReportPlugin::userReportAsHtml(const CItemIdList& userIds)
{
    server()->setBaseModel(QStringLiteral("Users"), QStringLiteral("user"), userIds);
    return ReportSource(*server(), server()->reportTemplate()).wholeHtml();
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
    if (pdf == nullptr || server()->accessControl() == nullptr)
        return false;
    const bool graphical = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
    *pdf = graphical ? renderedHere(userIds)
                     : ReportJob(server()->accessControl(), server()->reportTemplate(), userIds, nullptr).run();
    return !pdf->isEmpty();
}

QObject* ReportPlugin::startUserReportAsPdf(const QList<CItemId>& userIds, QObject* parent, const Progress& progress,
                                            const Finished& finished)
{
    auto* job = new ReportJob(server()->accessControl(), server()->reportTemplate(), userIds, parent);
    job->start(progress, finished);
    return job;
}

QStringList ReportPlugin::interfaces() const
{
    return CBaseReportPlugin::interfaces() << QLatin1String(qobject_interface_iid<IReportJobs*>());
}

QByteArray ReportPlugin::renderedHere(const QList<CItemId>& userIds)
{
    server()->setBaseModel(QStringLiteral("Users"), QStringLiteral("user"), userIds);
    ReportSource source(*server(), server()->reportTemplate());
    QStringList missingFonts;
    PdfRenderer renderer(source.setup(), [&](const char* word, const QString& about) {
        if (qstrcmp(word, "missing-font") == 0)
            missingFonts.append(about);
        else if (qstrcmp(word, "sheet") != 0)
            qWarning("ReportPlugin: %s: %s", word, qUtf8Printable(about));
    });
    ReportSheets::Sheet sheet;
    bool good = true;
    while (good && !source.atEnd())
        good = !source.next(sheet) || renderer.add(sheet);
    server()->logMissingFonts(missingFonts, QStringLiteral("User Report"));
    return good ? renderer.finish() : QByteArray();
}
