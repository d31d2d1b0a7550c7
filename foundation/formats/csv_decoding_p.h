#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// How the bytes of a CSV file become text.
namespace CsvDecoding {

/// By the byte-order mark, or as UTF-8 where there is none. `valid` becomes false for anything else.
QString unicode(const QByteArray& bytes, bool* valid);
/// Whether they begin with a mark of UTF-16 or UTF-32.
bool hasWideMark(const QByteArray& bytes);
/// Code page 1252; the five bytes that it leaves open are the control codes of ISO 8859-1. Never fails.
QString windows1252(const QByteArray& bytes);

} // namespace CsvDecoding
