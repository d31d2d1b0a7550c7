#pragma once

#include <QtCore/QString>

#include <memory>

class CSqlAccessControl;

/// Where an installation is kept that nobody has named: "installation.db" in the state folder of a service, else in the
/// user's data folder.
QString defaultDatabase();

/// The installation that is kept at `location`; "memory" is the demonstration installation, which is gone when the
/// program ends. Null with a reason when it cannot be opened.
std::unique_ptr<CSqlAccessControl> openModel(const QString& location, QString& error);
