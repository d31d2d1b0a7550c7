#include <foundation/services/plugin_helper.h>

#include <foundation/services/file_protection_p.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

QList<QDir> CPluginHelper::findPluginsDirectories(const QString& basePath)
{
    QDir directory(basePath);
    const QString folder = directory.dirName().toLower();
    if (folder == QLatin1String("debug") || folder == QLatin1String("release"))
        directory.cdUp();
    directory.cd(QStringLiteral("plugins")); // cppcheck-suppress ignoredReturnValue ; without one it stays where it is

    QString libraries;
    if (directory.dirName() == QLatin1String("Admora"))
        libraries = QStringLiteral("../../Libraries");
    else if (directory.dirName() == QLatin1String("Tests"))
        libraries = QStringLiteral("../Libraries");
    else if (directory.canonicalPath().endsWith(QLatin1String("Tests/kyr_test.app/Contents/MacOS")))
        libraries = QStringLiteral("../../../../Libraries");
    if (libraries.isEmpty() || !directory.cd(libraries))
        return {directory};

    QList<QDir> modules;
    for (const char* name : {"kyr_rpc", "kyr_fias", "kyr_report"}) {
        QDir module = directory;
        if (module.cd(QLatin1String(name)))
            modules.append(module);
    }
    return modules;
}

QString CPluginHelper::trustedFile(const QString& path)
{
    QString file = QFileInfo(path).canonicalFilePath();
    if (!file.isEmpty() && isProtectedFile(QFile::encodeName(file).constData()))
        return file;
    qWarning("PluginHelper: %s is passed over: others than the user and root may write it or a folder above",
             qUtf8Printable(path));
    return QString();
}
