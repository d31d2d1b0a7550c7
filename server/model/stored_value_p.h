#pragma once

#include <server/database/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QVariant>

/// A property's value as it stands in a row: a type code of our own, the text that filters look up, and the whole value
/// where the text is not all of it.
struct StoredValue
{
    int type = 0;
    QString value;
    QByteArray data; ///< null where the text says all
};

namespace StoredValues {

/// Codes of types; stored, so a number keeps its meaning.
enum Type
{
    None = 0,
    Bool = 1,
    Int = 2,
    UInt = 3,
    LongLong = 4,
    ULongLong = 5,
    Double = 6,
    Text = 7,
    Bytes = 8,
    Date = 9,
    Time = 10,
    LocalDateTime = 11, ///< an instant that is read as local time
    UtcDateTime = 12,
    List = 13,
    Map = 14,
    TextList = 15,
    IdList = 16,
};

/// Of the text that filters look up; longer ones are cut, and end with a hash of the whole.
inline constexpr int longestLookUp = 200;

/// What a filter's value or a label is compared by.
KYR_SERVER_TEST_EXPORT QString lookUpText(const QString& canonical);

/// Types that have no code become texts. Date-times are whole seconds. False when lists are nested too deep.
KYR_SERVER_TEST_EXPORT bool encode(const QVariant& value, StoredValue* stored);
/// Invalid when the row makes no sense.
KYR_SERVER_TEST_EXPORT QVariant decode(int type, const QString& value, const QByteArray& data);

/// A map as one text, types kept; and back.
KYR_SERVER_TEST_EXPORT QString mapToText(const QVariantMap& map);
KYR_SERVER_TEST_EXPORT QVariantMap mapFromText(const QString& text);
QVariantMap mapFromJson(const QJsonObject& object);

} // namespace StoredValues
