#pragma once

#include <server/database/export.h>

#include <QtCore/QJsonValue>
#include <QtCore/QVariant>

#include <optional>

/// Between JSON and the values that methods take and give.
namespace ApiValues {

/// A parameter of the type `type` (QMetaType, QVariant for any); nothing when it is of another kind. A number stands
/// for a text where one is wanted, as ids are texts.
KYR_SERVER_TEST_EXPORT std::optional<QVariant> fromJson(const QJsonValue& value, int type);

/// Ids are decimal texts, as are numbers that JSON's readers would round; times ISO 8601 in UTC, to the second; bytes
/// base64, a UID (of that name) its label.
KYR_SERVER_TEST_EXPORT QJsonValue toJson(const QVariant& value, const QString& name = {});

/// A map in which "id", what ends in "Id" and, of an event, "user", "accessPoint" and "medium" are texts, in nested
/// maps and lists, too.
KYR_SERVER_TEST_EXPORT QVariantMap withIdTexts(QVariantMap map);
QVariant withIdTexts(const QVariant& value);

/// What a type is called where methods are described.
QString typeName(int type);

} // namespace ApiValues
