#pragma once

#include <server/model/model_vocabulary_p.h>

#include <QtCore/QVariant>

/// What may be stored under which name. Values that decide about access are read here, once, when they are set: one
/// that could not be read when a door asks for it would deny.
namespace CheckedValues {

/// Texts of labels, of values, of names; what comes from outside is not longer.
inline constexpr int longestLabel = 10000;
inline constexpr int longestText = 1000000;
inline constexpr int longestName = 200;

/// Brings the value into the form in which it is stored: times are whole seconds, a UID is bytes, a schedule's text is
/// written the usual way. False for one that must not stand there; `errorString` names property and fault.
bool check(Model::Kind kind, const QString& name, QVariant* value, QString* errorString);

} // namespace CheckedValues
