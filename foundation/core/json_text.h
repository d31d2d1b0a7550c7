#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>

/// Standard JSON from whoever is on the other side.
///
/// Qt 5's reader never frees a nested value whose key stands again in the same object: with such texts a stranger eats
/// up a server's memory. So what a peer sent is read by this:
///
///     QJsonParseError error;
///     const QJsonDocument message = CJsonText::read(bytes, &error);
///
/// (CJsonParser is another format: the system's own messages, one level deep.)
class KYR_FOUNDATION_EXPORT CJsonText
{
public:
    CJsonText() = delete;

    /// As QJsonDocument::fromJson, but a text in which some object has a key twice is refused before it is read: the
    /// document is null then, and *error (if given) says IllegalValue at the place where the key stands again.
    static QJsonDocument read(const QByteArray& json, QJsonParseError* error = nullptr);

    /// Where in some object a key stands again, as an offset in bytes; -1 when none does. Keys are compared as what
    /// they stand for, "a" is "\u0061"; one with an escape that JSON has not (a backslash before a character above
    /// U+007F), which readers take differently, counts as repeated. In a malformed text as far as a reader could get.
    /// Takes O(n log n) time and O(n) memory, whatever stands in the text; nesting beyond 1024 levels, which no reader
    /// accepts, ends the search.
    static int repeatedKey(const QByteArray& json);
};
