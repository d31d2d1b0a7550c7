#pragma once

#include <foundation/core/export.h>

#include <QtCore/QDir>
#include <QtCore/QList>

/// Where an application looks for its plugin modules.
///
///     const auto directories = CPluginHelper::findPluginsDirectories(QCoreApplication::applicationDirPath());
class KYR_FOUNDATION_EXPORT CPluginHelper
{
public:
    CPluginHelper() = delete;

    /// Installed: "plugins" below `basePath` (above it, if that is a "debug" or "release" folder), or else that folder
    /// itself. In a development tree ("Admora", "Tests"): the module folders of the "Libraries" tree that exist, in the
    /// order kyr_rpc, kyr_fias, kyr_report; maybe none.
    static QList<QDir> findPluginsDirectories(const QString& basePath);
};
