#pragma once

#include <foundation/core/export.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

/// Reads the CSV files that spreadsheets and CCsvWriter write, record by record.
///
///     CCsvReader reader(file.readAll());
///     QStringList fields;
///     while (reader.readRecord(&fields))
///         add(fields);                                             // the first record is the header line
///     if (!reader.errorString().isEmpty())
///         qWarning("line %d: %s", reader.line(), qPrintable(reader.errorString()));
///
/// UTF-8 with or without a byte-order mark, UTF-16 and UTF-32 with one; bytes that are none of these are Windows-1252.
/// The separator is whichever of tab, ";" and "," stands most often in the first record outside of quotes; ";" where
/// none does. Lines end with LF, CR LF, or, in a file without LF, with CR. Empty lines are no records.
///
/// A field that begins with a quote ends with one: separators, line ends (as LF) and doubled quotes in it are text.
/// Anywhere else a quote is a character like others. Blanks are kept. Time and memory are linear.
class KYR_FOUNDATION_EXPORT CCsvReader
{
public:
    /// Longer files are refused; bytes.
    static constexpr int longestFile = 256 * 1024 * 1024;

    explicit CCsvReader(const QByteArray& bytes);

    QChar separator() const { return m_separator; }
    /// The next record, of at least one field. False at the end and after a fault.
    bool readRecord(QStringList* fields);
    /// The line of the file in which the last record, or the fault's, begins; 1 is the first.
    int line() const { return m_recordLine; }
    /// How much of the file has been read, from 0 to 100.
    int percent() const;
    /// The fault that ended reading; empty at the end of the file.
    QString errorString() const { return m_errorString; }

private:
    bool fail(const char* reason);
    bool readField(QString* field);
    bool readQuotedField(QString* field);
    bool atLineEnd() const { return m_place >= m_text.size() || m_text.at(m_place) == QLatin1Char('\n'); }

    QString m_text;
    QString m_errorString;
    QChar m_separator = QLatin1Char(';');
    int m_place = 0;
    int m_line = 1;
    int m_recordLine = 1;
};
