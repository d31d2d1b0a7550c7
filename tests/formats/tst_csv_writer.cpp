#include <foundation/formats/csv_writer.h>

#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QTextStream>
#include <QtTest/QtTest>

namespace {

// Two rows of three columns; the first row has one child.
class TableModel : public QAbstractItemModel
{
public:
    int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 1 : 2; }
    int columnCount(const QModelIndex&) const override { return 3; }
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
        const QVariant rows[2][3] = {{1, "a", QVariant()}, {0, "b", true}};
        if (role != Qt::DisplayRole)
            return "wrong role";
        return index.internalId() == 1 ? "child" : rows[index.row()][index.column()];
    }
    QVariant headerData(int section, Qt::Orientation, int) const override
    {
        return QStringList{"Id", "Name;x", "T\u00fcr"}.value(section);
    }
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
    void model()
    {
        TableModel model;
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

    void cells()
    {
        const QDateTime time(QDate(2024, 3, 1), QTime(14, 5, 9));
        CCsvWriter writer;
        writer.setColumns({0, 1, 2, 3, 4, 5});
        for (const int column : {0, 1, 2, 3})
            writer.setColumnFlags(column, CCsvWriter::ZeroAsEmpty);
        writer.setColumnFlags(4, CCsvWriter::ZeroAsEmpty | CCsvWriter::IsoDateTime);
        const QVariant beyond32Bits = Q_INT64_C(1) << 32;
        QCOMPARE(row(writer, {0, "0", 5, "none", time, time}),
                 QByteArray(";;5;none;2024-03-01 14:05:09;01.03.24 14:05\n"));
        QCOMPARE(row(writer, {QString(), QVariant(), beyond32Bits, false, QDateTime()}),
                 QByteArray(";;4294967296;;;\n"));
        writer.clearColumnFlags();
        QCOMPARE(row(writer, {0, "0", 5, 0.5, time.date()}), QByteArray("0;0;5;0.5;2024-03-01;\n"));

        // A date with the separator in it stays without quotes.
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        writer.setFieldSeparatorFromHeader("a,b");
        writer.setColumns({0});
        QVERIFY(!row(writer, {time}).contains('"'));
    }

    void quoting()
    {
        const CCsvWriter writer;
        const auto check = [&](const QString& text, const QString& expected) {
            const QString escaped = writer.escapeCsvString(text);
            QCOMPARE(escaped, expected);
            const QString back = QString(text).replace("\r\n", "\n");
            QCOMPARE(writer.unescapeCsvString(escaped), back);
            QCOMPARE(writer.splitFields("x;" + escaped + ";y"), QStringList({"x", back, "y"}));
        };
        const std::pair<const char*, const char*> rows[] = {
            {"", ""},
            {"a,b\tc", "a,b\tc"},
            {"a;b", "\"a;b\""},
            {"\"", "\"\"\"\""},
            {"say \"yes\"", "\"say \"\"yes\"\"\""},
            {"lone\rCR", "lone\rCR"},
            {"\r\n\r\r\n", "\"\n\r\n\""},
        };
        for (const auto& [text, escaped] : rows)
            check(text, escaped);
        // A special character in each place of a longer text, where eight characters are looked at together.
        for (int i = 0; i < 19; ++i) {
            QString text(19, QChar(0x22A0));
            text[i] = QLatin1Char(";\"\n"[i % 3]);
            const QString doubled = text.at(i) == '"' ? "\"" : QString();
            check(text, '"' + text.left(i) + doubled + text.mid(i) + '"');
        }
    }

    void guards_against_formulas()
    {
        CCsvWriter writer;
        writer.setColumns({0, 1, 2, 3, 4, 5});
        const QVariantList values{"=1;2", "+41 44", "-5", -5, "@sum", "a=b"};
        QCOMPARE(row(writer, values), QByteArray("\"=1;2\";+41 44;-5;-5;@sum;a=b\n"));
        writer.setFormulaGuard(true);
        QCOMPARE(row(writer, values), QByteArray("\"'=1;2\";'+41 44;-5;-5;'@sum;a=b\n"));
    }

    void reading()
    {
        const std::pair<const char*, const char*> headers[] = {
            {"a,b\tc;", "a;b,c|d"}, {"a,b;c", "a|b,c\td"}, {"a,b", "a;b|c\td"}, {"a", "a|b,c\td"}};
        CCsvWriter writer;
        for (const auto& [header, fields] : headers) {
            writer.setFieldSeparatorFromHeader(header);
            QCOMPARE(writer.splitFields("a;b,c\td").join('|'), fields);
        }
        for (const char* same : {"\"", "\"a", "a\"", "x\"\"y"})
            QCOMPARE(writer.unescapeCsvString(same), same);
        QCOMPARE(writer.unescapeCsvString("\"a\"b\"\"\""), "a\"b\"");
        QCOMPARE(writer.unescapeCsvString(QString(4000002, '"')).size(), 2000000);
    }

    void decoding()
    {
        // Without another meaning each byte is a character of its own.
        const auto check = [](const char* bytes, int size, const char* utf8) {
            QCOMPARE(CCsvWriter::decodeBytes(QByteArray(bytes, size)),
                     utf8 ? QString::fromUtf8(utf8) : QString::fromLatin1(bytes, size));
        };
        check("", 0, "");
        check("M\xC3\xBCller", 7, "M\xC3\xBCller");
        check("\xEF\xBB\xBFM\xC3\xBCller", 10, "M\xC3\xBCller");
        check("\xEF\xBF\xBD\xF0\x9F\x94\x91", 7, "\xEF\xBF\xBD\xF0\x9F\x94\x91");
        check("a\0b", 3, nullptr);
        // Code page 437, then ISO 8859-1.
        check("M\x81ller", 6, "M\xC3\xBCller");
        check("\x80\x9A\xA5\xE1\xFE\xFFz", 7, "\xC3\x87\xC3\x9C\xC3\x91\xC3\x9F\xE2\x96\xA0\xC2\xA0z");
        check("M\xFCller", 6, nullptr);
        check("\x9B\xE9", 2, nullptr);
        // No valid UTF-8: cut off, overlong, surrogate, beyond Unicode.
        for (const char* bytes : {"a\xC3", "\xC0\xAF", "\xE0\x9F\xBF", "\xED\xA0\xBF", "\xF4\xBF\xBF\xBF"})
            check(bytes, int(qstrlen(bytes)), nullptr);
        // UTF-16, cut off, half a pair; UTF-32, beyond Unicode.
        check("\xFF\xFEM\0\xFC\0\x3D\xD8\x11\xDD", 10, "M\xC3\xBC\xF0\x9F\x94\x91");
        check("\xFE\xFF\0M\0\xFC\xD8\x3D\xDD\x11", 10, "M\xC3\xBC\xF0\x9F\x94\x91");
        check("\xFE\xFF\0M\xFC", 5, nullptr);
        check("\xFE\xFF\xD8\x3D", 4, nullptr);
        check("\xFF\xFE\0\0\xFC\0\0\0\x11\xF5\x01\0", 12, "\xC3\xBC\xF0\x9F\x94\x91");
        check("\0\0\xFE\xFF\0\x01\xF5\x11", 8, "\xF0\x9F\x94\x91");
        check("\0\0\xFE\xFF\x7F\xFF\xFF\xFF", 8, nullptr);
    }
};

QTEST_GUILESS_MAIN(tst_CsvWriter)
#include "tst_csv_writer.moc"
