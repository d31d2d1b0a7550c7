#pragma once

#include <foundation/core/export.h>

#include <QtCore/QAbstractItemModel>
#include <QtCore/QFlags>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QStringList>

class TextBuffer;
class QIODevice;
class QTextStream;

/// Writes a table model as CSV that spreadsheets open, and helps to read such files back.
///
///     CCsvWriter writer;
///     writer.setModel(&users, QModelIndex());
///     writer.setColumns({0, 3, 1});
///     writer.setColumnFlags(3, CCsvWriter::IsoDateTime);
///     QFile file(QStringLiteral("users.csv"));
///     if (file.open(QIODevice::WriteOnly))
///         writer.write(&file);
///
/// The file is UTF-8 with byte-order mark; lines end with a line feed; the separator is ";".
class KYR_FOUNDATION_EXPORT CCsvWriter
{
public:
    enum ProcessingFlag
    {
        ZeroAsEmpty = 0x1, ///< what converts to the integer 0 is written as an empty field
        IsoDateTime = 0x2  ///< date and time as "yyyy-MM-dd HH:mm:ss", not in the locale's short format
    };
    Q_DECLARE_FLAGS(ProcessingFlags, ProcessingFlag)

    CCsvWriter();
    ~CCsvWriter();

    /// The model (not owned) and the index whose children are the rows; an invalid one stands for the top level.
    void setModel(QAbstractItemModel* model, const QPersistentModelIndex& rootIndex = QPersistentModelIndex());
    /// The model's columns to write, in this order; one may stand there twice, one that the model lacks is empty.
    void setColumns(const QList<int>& columns);
    /// How a column of the model is written; replaces what was set for it before.
    void setColumnFlags(int column, ProcessingFlags flags);
    void clearColumnFlags();
    /// Whether texts that a spreadsheet would take for a formula (they begin with "=", "+", "-", "@", a tab or a
    /// carriage return, and are no number) get an apostrophe in front. Off unless asked for: whoever reads the file
    /// back as data finds it there.
    void setFormulaGuard(bool on) { m_guarded = on; }
    /// Takes the separator from the header line of an existing file: tab, ";" or ",", the first of these that occurs
    /// in it, or ";".
    void setFieldSeparatorFromHeader(const QString& headerLine);

    /// Writes header and rows. Without a model nothing is written but a warning to the log. Errors of the device are
    /// told by the device.
    void write(QTextStream& out);
    void write(QIODevice* device);

    /// The text as the guard would have it.
    static QString guardedText(const QString& text);

    /// One line each; headers and values are those of the model's columns from 0 on.
    void writeHeader(QTextStream& out, const QStringList& headers) const;
    void writeRow(QTextStream& out, const QList<QVariant>& values) const;

    /// A text with a line feed, a quote or the separator in it is put in quotes, its quotes are doubled, its CR LF
    /// become LF. Any other is left as it is.
    QString escapeCsvString(const QString& text) const;
    /// Takes the quotes off again; a text without quotes at both ends is left as it is.
    QString unescapeCsvString(const QString& text) const;

    /// The fields of one record, without their quotes.
    QStringList splitFields(const QString& line) const;

    /// The text of a file of unknown encoding: UTF-16 and UTF-32 are known by their byte-order marks, valid UTF-8 by
    /// itself; else a byte from 0x80 to 0x9A tells code page 437 from ISO 8859-1. Linear; never fails.
    static QString decodeBytes(const QByteArray& bytes);

private:
    void appendText(TextBuffer& line, const QString& text) const;
    void appendQuoted(TextBuffer& line, const QString& text) const;
    void appendValue(TextBuffer& line, const QVariant& value, ProcessingFlags flags) const;

    QList<int> m_columns;
    QPointer<QAbstractItemModel> m_model;
    QPersistentModelIndex m_rootIndex;
    QChar m_fieldSeparator = QLatin1Char(';');
    QMap<int, ProcessingFlags> m_columnFlags;
    bool m_guarded = false;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CCsvWriter::ProcessingFlags)
