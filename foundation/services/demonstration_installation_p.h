#pragma once

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QVariantMap>

/// The building that CAccessControlMock starts with: its collections by name.
QMap<QString, QList<QVariantMap>> demonstrationInstallation();
