#pragma once

#include <QtCore/QString>

#include <memory>

class CSqlAccessControl;

/// Where an installation is kept that nobody has named: "installation.db" in the state folder of a service, else in the
/// user's data folder.
QString defaultDatabase();

/// The installation that is kept at `location`; "memory" is the demonstration installation, which is gone when the
/// program ends. Null with a reason when it cannot be opened.
/// `authority` is the file of the certificate authority of a database server, or empty.
std::unique_ptr<CSqlAccessControl> openModel(const QString& location, const QString& authority, QString& error);
