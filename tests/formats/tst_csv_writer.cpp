#include <foundation/formats/csv_writer.h>

#include <QtCore/QAbstractTableModel>
#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStandardPaths>
#include <QtCore/QTextStream>
#include <QtTest/QtTest>

namespace {

using Rows = QList<QVariantList>;

// A table; with a parent index the rows are those below its first row.
class TableModel : public QAbstractItemModel
{
public:
    TableModel(const QStringList& headers, const Rows& rows)
        : m_headers(headers)
        , m_rows(rows)
    {
    }
    int rowCount(const QModelIndex& parent) const override
    {
        return parent.isValid() ? (parent.internalId() == 0 ? 1 : 0) : int(m_rows.size());
    }
    int columnCount(const QModelIndex&) const override { return m_headers.size(); }
    QModelIndex index(int row, int column, const QModelIndex& parent) const override
    {
        return createIndex(row, column, quintptr(parent.isValid() ? 1 : 0));
    }
    QModelIndex parent(const QModelIndex& index) const override
    {
        return index.internalId() == 1 ? createIndex(0, 0, quintptr(0)) : QModelIndex();
    }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return QStringLiteral("wrong role");
        return index.internalId() == 1 ? QStringLiteral("child") : m_rows.at(index.row()).at(index.column());
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        return orientation == Qt::Horizontal && role == Qt::DisplayRole ? m_headers.at(section) : QString();
    }

private:
    QStringList m_headers;
    Rows m_rows;
};

QByteArray written(CCsvWriter& writer)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writer.write(&buffer);
    return buffer.data();
}

QByteArray row(const CCsvWriter& writer, const QList<QVariant>& values)
{
    QByteArray bytes;
    QTextStream out(&bytes);
    writer.writeRow(out, values);
    out.flush();
    return bytes;
}

} // namespace

class tst_CsvWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }
    void model();
    void cells();
    void quoting_data();
    void quoting();
    void separators();
    void decoding_data();
    void decoding();
    void pythonReads();
};

void tst_CsvWriter::model()
{
    TableModel model({QStringLiteral("Id"), QStringLiteral("Name;x"), QString::fromUtf8("T\xC3\xBCr")},
                     {{1, QStringLiteral("a"), QVariant()}, {0, QStringLiteral("b"), true}});
    CCsvWriter writer;
    QTest::ignoreMessage(QtWarningMsg, "CsvWriter: no model to write");
    QCOMPARE(written(writer), QByteArray());

    writer.setModel(&model, QModelIndex());
    QCOMPARE(written(writer), QByteArray("\xEF\xBB\xBF\n\n\n"));
    writer.setColumns({2, 0, 1, 0, 3, -1});
    writer.setColumnFlags(0, CCsvWriter::ZeroAsEmpty);
    QCOMPARE(written(writer), QByteArray("\xEF\xBB\xBFT\xC3\xBCr;Id;\"Name;x\";Id;;\n;1;a;1;;\ntrue;;b;;;\n"));

    writer.setModel(&model, model.index(0, 0, QModelIndex()));
    writer.setColumns({1});
    QCOMPARE(written(writer), QByteArray("\xEF\xBB\xBF\"Name;x\"\nchild\n"));
}

void tst_CsvWriter::cells()
{
    const QDateTime time(QDate(2024, 3, 1), QTime(14, 5, 9));
    CCsvWriter writer;
    writer.setColumns({0, 1, 2, 3, 4, 5});
    for (const int column : {0, 1, 2, 3})
        writer.setColumnFlags(column, CCsvWriter::ZeroAsEmpty);
    writer.setColumnFlags(4, CCsvWriter::ZeroAsEmpty | CCsvWriter::IsoDateTime);
    const QVariant beyond32Bits = Q_INT64_C(1) << 32;
    QCOMPARE(row(writer, {0, QStringLiteral("0"), 5, QStringLiteral("none"), time, time}),
             QByteArray(";;5;none;2024-03-01 14:05:09;01.03.24 14:05\n"));
    QCOMPARE(row(writer, {QString(), QVariant(), beyond32Bits, false, QDateTime()}), QByteArray(";;4294967296;;;\n"));
    writer.setColumnFlags(4, {});
    writer.clearColumnFlags();
    QCOMPARE(row(writer, {0, QStringLiteral("0"), 5, 0.5, time.date()}), QByteArray("0;0;5;0.5;2024-03-01;\n"));

    // A short date with the separator in it stays without quotes.
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    writer.setFieldSeparatorFromHeader(QStringLiteral("a,b"));
    writer.setColumns({0});
    QVERIFY(!row(writer, {time}).contains('"'));
}

void tst_CsvWriter::quoting_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");

    const auto row = [](const char* text, const char* escaped) {
        QTest::newRow(QByteArray(text).toPercentEncoding(" ;,").constData())
            << QString::fromUtf8(text) << QString::fromUtf8(escaped);
    };
    row("", "");
    row("a,b\tc", "a,b\tc");
    row("a;b", "\"a;b\"");
    row("\"", "\"\"\"\"");
    row("say \"yes\"", "\"say \"\"yes\"\"\"");
    row("two\nlines", "\"two\nlines\"");
    row("lone\rCR", "lone\rCR");
    row("\r\n\r\r\n", "\"\n\r\n\"");
    // The separator in each place of a longer text, where eight characters are looked at together.
    for (int i = 0; i < 19; ++i) {
        QString text = QString::fromUtf8("Schl\xC3\xBCssel\xE2\x82\xAC"
                                         "abcdefghij")
                           .left(19);
        text[i] = QLatin1Char(";\"\n"[i % 3]);
        const QString inside = i % 3 == 1 ? text.left(i) + QLatin1Char('"') + text.mid(i) : text;
        QTest::addRow("place %d", i) << text << QString(QLatin1Char('"') + inside + QLatin1Char('"'));
    }
}

void tst_CsvWriter::quoting()
{
    QFETCH(QString, text);
    const CCsvWriter writer;
    const QString escaped = writer.escapeCsvString(text);
    QTEST(escaped, "escaped");
    const QString back = text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    QCOMPARE(writer.unescapeCsvString(escaped), back);
    QCOMPARE(writer.splitFields(QStringLiteral("x;") + escaped + QStringLiteral(";y")),
             QStringList({QStringLiteral("x"), back, QStringLiteral("y")}));
}

void tst_CsvWriter::separators()
{
    const QString text = QStringLiteral("a;b,c\td");
    const std::pair<const char*, const char*> headers[] = {
        {"a,b\tc;", "a;b,c|d"}, {"a,b;c", "a|b,c\td"}, {"a,b", "a;b|c\td"}, {"a", "a|b,c\td"}};
    CCsvWriter writer;
    for (const auto& [header, fields] : headers) {
        writer.setFieldSeparatorFromHeader(QLatin1String(header));
        QCOMPARE(writer.splitFields(text).join(QLatin1Char('|')), QLatin1String(fields));
    }
    // Taking quotes off needs both of them; what is not doubled inside stays.
    for (const char* same : {"\"", "\"a", "a\"", "x\"\"y"})
        QCOMPARE(writer.unescapeCsvString(QLatin1String(same)), QLatin1String(same));
    QCOMPARE(writer.unescapeCsvString(QStringLiteral("\"a\"b\"\"\"")), QStringLiteral("a\"b\""));
    QCOMPARE(writer.unescapeCsvString(QString(4000002, QLatin1Char('"'))).size(), 2000000);
}

void tst_CsvWriter::decoding_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    const QString mueller = QString::fromUtf8("M\xC3\xBCller");
    QTest::newRow("UTF-8") << QByteArray("M\xC3\xBCller") << mueller;
    QTest::newRow("UTF-8 with mark") << QByteArray("\xEF\xBB\xBFM\xC3\xBCller") << mueller;
    QTest::newRow("a zero byte") << QByteArray("a\0b", 3) << QString::fromLatin1("a\0b", 3);
    QTest::newRow("code page 437") << QByteArray("M\x81ller") << mueller;
    QTest::newRow("code page 437, all") << QByteArray("\x80\x9A\xA5\xE1\xFE\xFFz")
                                        << QString::fromUtf8("\xC3\x87\xC3\x9C\xC3\x91\xC3\x9F\xE2\x96\xA0\xC2\xA0z");
    QTest::newRow("ISO 8859-1") << QByteArray("M\xFCller") << mueller;
    QTest::newRow("ISO 8859-1, 0x9B") << QByteArray("\x9B\xE9") << QString::fromLatin1("\x9B\xE9");
    QTest::newRow("replacement character") << QByteArray("\xEF\xBF\xBD") << QString(QChar(QChar::ReplacementCharacter));
    QTest::newRow("four bytes") << QByteArray("\xF0\x9F\x94\x91") << QString::fromUtf8("\xF0\x9F\x94\x91");
    QTest::newRow("cut off") << QByteArray("a\xC3") << QString::fromLatin1("a\xC3");
    QTest::newRow("overlong") << QByteArray("\xC0\xAF") << QString::fromLatin1("\xC0\xAF");
    QTest::newRow("overlong, three") << QByteArray("\xE0\x9F\xBF") << QString::fromLatin1("\xE0\x9F\xBF");
    QTest::newRow("surrogate") << QByteArray("\xED\xA0\xBF") << QString::fromLatin1("\xED\xA0\xBF");
    QTest::newRow("beyond Unicode") << QByteArray("\xF4\xBF\xBF\xBF") << QString::fromLatin1("\xF4\xBF\xBF\xBF");
    QTest::newRow("UTF-16 LE") << QByteArray("\xFF\xFEM\0\xFC\0\x3D\xD8\x11\xDD", 10)
                               << QString::fromUtf8("M\xC3\xBC\xF0\x9F\x94\x91");
    QTest::newRow("UTF-16 BE") << QByteArray("\xFE\xFF\0M\0\xFC\xD8\x3D\xDD\x11", 10)
                               << QString::fromUtf8("M\xC3\xBC\xF0\x9F\x94\x91");
    QTest::newRow("UTF-16 cut off") << QByteArray("\xFE\xFF\0M\xFC", 5) << QString::fromLatin1("\xFE\xFF\0M\xFC", 5);
    QTest::newRow("UTF-16 half a pair") << QByteArray("\xFE\xFF\xD8\x3D", 4) << QString::fromLatin1("\xFE\xFF\xD8\x3D");
    QTest::newRow("UTF-32 LE") << QByteArray("\xFF\xFE\0\0\xFC\0\0\0\x11\xF5\x01\0", 12)
                               << QString::fromUtf8("\xC3\xBC\xF0\x9F\x94\x91");
    QTest::newRow("UTF-32 BE") << QByteArray("\0\0\xFE\xFF\0\x01\xF5\x11", 8) << QString::fromUtf8("\xF0\x9F\x94\x91");
    QTest::newRow("UTF-32 beyond Unicode")
        << QByteArray("\0\0\xFE\xFF\x7F\xFF\xFF\xFF", 8) << QString::fromLatin1("\0\0\xFE\xFF\x7F\xFF\xFF\xFF", 8);
    QTest::newRow("nothing") << QByteArray() << QString();
}

void tst_CsvWriter::decoding()
{
    QFETCH(QByteArray, bytes);
    QTEST(CCsvWriter::decodeBytes(bytes), "text");
}

void tst_CsvWriter::pythonReads()
{
    const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
    if (python.isEmpty())
        QSKIP("no python3 to read what was written");

    // Random cells of what hurts. A lone CR stays outside quotes, where Python takes it for the end of a line.
    const QString alphabet = QString::fromUtf8("ab ;,\t\"\n'\xC3\xBC\xE2\x82\xAC");
    QRandomGenerator random(4711);
    Rows rows;
    for (int r = 0; r < 400; ++r) {
        QVariantList cells;
        for (int c = 0; c < 4; ++c) {
            QString cell;
            for (int i = random.bounded(24); i > 0; --i)
                cell += alphabet.at(random.bounded(int(alphabet.size())));
            cells.append(cell);
        }
        rows.append(cells);
    }
    rows.append(
        {QVariant(), QStringLiteral("\r\n"), QString(100000, QLatin1Char('"')), QString::fromUtf8("\xF0\x9F\x94\x91")});
    const QStringList headers{QStringLiteral("a\nb"), QStringLiteral("\""), QStringLiteral(";"), QString()};
    TableModel model(headers, rows);
    CCsvWriter writer;
    writer.setModel(&model);
    writer.setColumns({3, 1, 0, 2});

    QProcess reader;
    reader.start(python,
                 {QStringLiteral("-c"),
                  QStringLiteral("import csv, io, json, sys\n"
                                 "text = sys.stdin.buffer.read().decode('utf-8-sig')\n"
                                 "print(json.dumps(list(csv.reader(io.StringIO(text, newline=''), delimiter=';', "
                                 "strict=True))))")});
    reader.write(written(writer));
    reader.closeWriteChannel();
    QVERIFY(reader.waitForFinished(6000));
    const QByteArray output = reader.readAllStandardOutput();
    QVERIFY2(reader.exitCode() == 0, reader.readAllStandardError().constData());

    QJsonArray expected{QJsonArray{headers[3], headers[1], headers[0], headers[2]}};
    for (const QVariantList& cells : qAsConst(rows)) {
        QJsonArray line;
        for (const int column : {3, 1, 0, 2})
            line.append(cells.at(column).toString().replace(QLatin1String("\r\n"), QLatin1String("\n")));
        expected.append(line);
    }
    const QJsonArray read = QJsonDocument::fromJson(output).array();
    QCOMPARE(read.size(), expected.size());
    for (int i = 0; i < read.size(); ++i)
        QCOMPARE(read.at(i), expected.at(i));
}

QTEST_GUILESS_MAIN(tst_CsvWriter)
#include "tst_csv_writer.moc"
