#include "report_loader.h"

#include <foundation/services/plugin_helper.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QLibrary>
#include <QtCore/QPluginLoader>

IReportGenerator* loadReportGenerator(QString& error)
{
    const QDir application(QCoreApplication::applicationDirPath());
    QList<QDir> directories = CPluginHelper::findPluginsDirectories(application.path());
    directories += CPluginHelper::findPluginsDirectories(application.absoluteFilePath(QStringLiteral(KYR_PLUGIN_BASE)));
    QStringList searched;
    QString reason;
    for (const QDir& directory : qAsConst(directories)) {
        const QStringList files = directory.entryList(QDir::Files, QDir::Name);
        for (const QString& file : files) {
            if (!QLibrary::isLibrary(file))
                continue;
            // The folder may hold other libraries, which are nobody's business: only what would be loaded is warned of.
            QPluginLoader loader(directory.absoluteFilePath(file));
            const QString iid = loader.metaData().value(QStringLiteral("IID")).toString();
            if (iid != QLatin1String(qobject_interface_iid<IReportGenerator*>()))
                continue;
            const QString trusted = CPluginHelper::trustedFile(loader.fileName());
            if (trusted.isEmpty()) {
                reason = QStringLiteral("other users can write to %1: it is not loaded").arg(loader.fileName());
                continue;
            }
            loader.setFileName(trusted);
            if (auto* generator = qobject_cast<IReportGenerator*>(loader.instance()))
                return generator;
            reason = loader.errorString();
        }
        searched.append(QDir::toNativeSeparators(directory.absolutePath()));
    }
    error =
        reason.isEmpty() ? QStringLiteral("no report plugin in %1").arg(searched.join(QLatin1String(", "))) : reason;
    return nullptr;
}
