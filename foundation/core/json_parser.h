#pragma once

#include <foundation/core/export.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

/// Small messages and settings as JSON-like text, one level deep.
///
///     QVariantMap map{{"id", 7}, {"nested", "{\"x\": 1}"}};
///     const QString text = CJsonParser::serialize(map);     // {"id": 7, "nested": {"x": 1}}
///     bool ok;
///     map = CJsonParser::deserialize(text, &ok, false);     // "nested" is the string {"x": 1} again
///
/// What is special about the form:
/// - Nested objects and arrays travel as text in strings; reading ends such a text at its first closing bracket.
/// - An array is a map with the keys "0", "1", "2"...; the empty map is written "[]".
/// - Byte arrays are pairs of hexadecimal digits with ":" between them, which is what tells them from a string.
/// - Unicode escapes and comments are replaced in the whole text before it is read, also inside and outside strings.
/// - The last bracket must end the text; the text may also end before it.
///
/// Time and memory are proportional to the length of the text, whatever stands in it.
class KYR_FOUNDATION_EXPORT CJsonParser
{
public:
    CJsonParser() = delete;

    /// An array when the keys are exactly "0" to the number of entries less one, otherwise an object. Keys are written
    /// as they are, so they should hold neither quotes nor "%".
    static QString serialize(const QVariantMap& map);
    static QString serialize(const QVariantList& list);

    /// Reads an object or an array. On a fault *ok (if given) is false, and the map holds the entries before it. With
    /// stripComments, block comments and line comments up to the line's end are taken out first, in strings, too.
    static QVariantMap deserialize(const QString& text, bool* ok, bool stripComments);

    /// One value as it stands in a text. Never fails: what is nothing else is a string.
    static QVariant valueStringToVariant(const QString& token);
    /// The text for one value. A text that starts with a bracket is written as it is. Nested maps give no text: put
    /// their serialized form into a string.
    static QString variantToValueString(const QVariant& value);

    /// A text in quotes with the usual escapes; vertical tabs are dropped.
    static QString toQuotedStringValue(const QString& text);
};
