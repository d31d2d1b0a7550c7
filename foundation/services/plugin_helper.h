#pragma once

#include <foundation/core/export.h>

#include <QtCore/QDir>
#include <QtCore/QList>

/// Where an application looks for its plugin modules.
///
///     for (const QDir& directory : CPluginHelper::findPluginsDirectories(QCoreApplication::applicationDirPath())) {
///         const QString file = CPluginHelper::trustedFile(directory.absoluteFilePath(name));
///         ... // load it, unless it is empty
///     }
class KYR_FOUNDATION_EXPORT CPluginHelper
{
public:
    CPluginHelper() = delete;

    /// Installed: "plugins" below `basePath` (above it, if that is a "debug" or "release" folder), or else that folder
    /// itself. In a development tree ("Admora", "Tests"): the module folders of the "Libraries" tree that exist, in the
    /// order kyr_rpc, kyr_fias, kyr_report; maybe none.
    static QList<QDir> findPluginsDirectories(const QString& basePath);

    /// The path of a module without links, to be loaded by this path; empty, with a warning in the log, when somebody
    /// else than the user and root may write it, its folder or a folder above. A module is part of the program: who can
    /// change it runs code in the user's name, and a build folder may stand anywhere. (Windows has no such check.)
    static QString trustedFile(const QString& path);
};
