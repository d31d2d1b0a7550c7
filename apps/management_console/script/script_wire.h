#pragma once

#include <QtCore/QJsonValue>
#include <QtCore/QVariant>

/// Values of a script's calls as JSON, between a client that runs a script and the console whose installation it works
/// on. What JSON has no form for is an object whose only key is "$": a number is a time (ms since 1970 UTC), null is no
/// value at all, an object is a map that has itself that key alone.
namespace ScriptWire {

/// What scripts have no type for is its canonical text.
QJsonValue toJson(const QVariant& value);
QVariant fromJson(const QJsonValue& value);

} // namespace ScriptWire
