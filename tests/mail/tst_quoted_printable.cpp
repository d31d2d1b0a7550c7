#include <foundation/mail/quoted_printable.h>

#include <QtTest/QtTest>

using Pieces = QList<QByteArray>;

class TestQuotedPrintable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cutsLines()
    {
        const QByteArray body("a =?_\t\r\n\x7f\x00~\xff", 12);
        const QByteArray head("a =?_\t\x7f\x00~\xff", 10);
        struct
        {
            const char* what;
            QByteArray line;
            int maxLength;
            bool header, dots;
            Pieces pieces;
        } const rows[] = {
            {"empty", "", 10, false, false, {}},
            {"every byte of a body", body, 100, false, false, {"a =3D?_\t\r\n=7F=00~=FF"}},
            {"every byte of a header", head, 100, true, false, {"a_=3D=3F=5F=09=7F=00~=FF"}},
            {"escape fits exactly", "ab=", 5, false, false, {"ab=3D"}},
            {"escape moves as a whole", "abc=d", 5, false, false, {"abc", "=3Dd"}},
            {"escapes, least length", "\xC3\xBC\xC3\xBC", 3, true, false, {"=C3", "=BC", "=C3", "=BC"}},
            {"below the least length: whole", "abc=d", 2, false, false, {"abc=3Dd"}},
            {"a dot in each piece", "...a.", 3, false, true, {"...", "..a", ".."}},
            {"dot behind an escape", "=.", 0, false, true, {"=3D."}},
        };
        for (const auto& [what, line, maxLength, header, dots, pieces] : rows)
            QVERIFY2(CQuotedPrintable::encodeAndSplitLine(line, maxLength, header, dots) == pieces, what);
    }

    void encodesBodies()
    {
        const QByteArray x74(74, 'x');
        const std::pair<QByteArray, QByteArray> rows[] = {
            {"a\n\nb\n", "a\r\n\r\nb\r\n"},
            {x74 + "123456", x74 + "1=\r\n23456"},
            {"a ", "a ="},
            {x74 + "\t", x74 + "\t="},
            {".\n" + x74 + "1.y\na.", "..\r\n" + x74 + "1=\r\n..y\r\na."},
        };
        for (const auto& [text, encoded] : rows)
            QCOMPARE(CQuotedPrintable::getEncodedText(text, true), encoded);
    }

    void encodesSubjects()
    {
        const QString w(40, 'w');
        const std::pair<QString, QString> rows[] = {
            {"Door  1: open?", "Door  1: open?"},
            {"T\u00FCr 1_?", "=?utf-8?Q?T=C3=BCr_1=5F=3F?="},
            {w + "  " + w, w + "\r\n  " + w}, // folded
            {w + "long" + w, "=?utf-8?Q?" + w + "long" + w.left(11) + "?=\r\n =?utf-8?Q?" + w.left(29) + "?="},
            {"a\r\nBcc: b\nc\rd", "a Bcc: b c d"},
            {"a ", "=?utf-8?Q?a_?="},
            {"a\tb", "=?utf-8?Q?a=09b?="},
            {"=?utf-8?Q?x?=", "=?utf-8?Q?=3D=3Futf-8=3FQ=3Fx=3F=3D?="},
        };
        for (const auto& [subject, encoded] : rows)
            QCOMPARE(CQuotedPrintable::getUtf8EncodedSubject(subject), encoded.toLatin1());
    }
};

QTEST_GUILESS_MAIN(TestQuotedPrintable)
#include "tst_quoted_printable.moc"
