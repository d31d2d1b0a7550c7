#pragma once

#include <QtCore/QString>

#include <memory>

class ISimpleAccessControl;

/// The installation that is kept at `location`: "memory", or an empty text, is the demonstration installation, which is
/// gone when the program ends. Null with a reason when it cannot be opened.
std::unique_ptr<ISimpleAccessControl> openModel(const QString& location, QString& error);
