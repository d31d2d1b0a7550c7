#include <foundation/mail/quoted_printable.h>

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

using Pieces = QList<QByteArray>;

namespace {

// Random Unicode with what hurts: blanks at line ends, lone dots, surrogate pairs, separators, long words.
QString randomText(QRandomGenerator& random, int length, bool lineBreaks)
{
    static const QString spice = QString::fromUtf8("  \t..=?_=\"üÄß€日本😀🔑\u0301\u2028\u007f");
    QString text;
    while (text.size() < length) {
        const quint32 kind = random.bounded(12U);
        if (kind < 5)
            text += QString(int(random.bounded(1, 90)), QLatin1Char(char('a' + random.bounded(26))));
        else if (kind == 5 && lineBreaks)
            text += QLatin1Char('\n');
        else if (kind == 6)
            text += QString::fromUcs4(std::array<char32_t, 1>{char32_t(0x10000 + random.bounded(0x10000))}.data(), 1);
        else if (kind == 7)
            text += QChar(ushort(0xA0 + random.bounded(0xD000)));
        else if (const int at = random.bounded(int(spice.size())); !spice.at(at).isSurrogate())
            text += spice.at(at);
    }
    return text;
}

} // namespace

class TestQuotedPrintable : public QObject
{
    Q_OBJECT

private Q_SLOTS:

    void cutsLines_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("maxLength");
        QTest::addColumn<bool>("header");
        QTest::addColumn<bool>("dots");
        QTest::addColumn<Pieces>("pieces");
        const QByteArray u("\xC3\xBC");
        QTest::newRow("empty") << QByteArray() << 10 << false << false << Pieces();
        QTest::newRow("every byte of a body")
            << QByteArray("a =?_\t\r\n\x7f\x00~\xff", 12) << 100 << false << false << Pieces{"a =3D?_\t\r\n=7F=00~=FF"};
        QTest::newRow("every byte of a header")
            << QByteArray("a =?_\t\x7f\x00~\xff", 10) << 100 << true << false << Pieces{"a_=3D=3F=5F=09=7F=00~=FF"};
        QTest::newRow("escape fits exactly") << QByteArray("ab=") << 5 << false << false << Pieces{"ab=3D"};
        QTest::newRow("escape moves as a whole") << QByteArray("abc=d") << 5 << false << false << Pieces{"abc", "=3Dd"};
        QTest::newRow("escapes, least length") << (u + u) << 3 << true << false << Pieces{"=C3", "=BC", "=C3", "=BC"};
        QTest::newRow("below the least length: whole")
            << QByteArray("abc=d") << 2 << false << false << Pieces{"abc=3Dd"};
        QTest::newRow("a dot in each piece") << QByteArray("...a.") << 3 << false << true << Pieces{"...", "..a", ".."};
        QTest::newRow("dot behind an escape") << QByteArray("=.") << 0 << false << true << Pieces{"=3D."};
    }

    void cutsLines()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, maxLength);
        QFETCH(bool, header);
        QFETCH(bool, dots);
        QTEST(CQuotedPrintable::encodeAndSplitLine(line, maxLength, header, dots), "pieces");
    }

    void encodesBodies_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("line ends") << QByteArray("a\n\nb\n") << QByteArray("a\r\n\r\nb\r\n");
        QTest::newRow("80 characters") << QByteArray(80, 'x') << QByteArray(75, 'x') + "=\r\n" + QByteArray(5, 'x');
        QTest::newRow("trailing blank") << QByteArray("a ") << QByteArray("a =");
        QTest::newRow("trailing tab, full line") << QByteArray(74, 'x') + "\t" << QByteArray(74, 'x') + "\t=";
        QTest::newRow("dots") << QByteArray(".\n" + QByteArray(75, 'x') + ".y\na.")
                              << QByteArray("..\r\n" + QByteArray(75, 'x') + "=\r\n..y\r\na.");
    }

    void encodesBodies()
    {
        QFETCH(QByteArray, text);
        QTEST(CQuotedPrintable::getEncodedText(text, true), "encoded");
    }

    void encodesSubjects_data()
    {
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QByteArray>("encoded");
        const auto word = [](int count) { return QString(count, QLatin1Char('w')); };
        QTest::newRow("plain") << QStringLiteral("Door  1: open?") << QByteArray("Door  1: open?");
        QTest::newRow("one word") << QString::fromUtf8("T\u00FCr 1_?") << QByteArray("=?utf-8?Q?T=C3=BCr_1=5F=3F?=");
        QTest::newRow("folded") << word(40) + QStringLiteral("  ") + word(40)
                                << QByteArray(40, 'w') + "\r\n  " + QByteArray(40, 'w');
        QTest::newRow("too long to fold")
            << word(68) << "=?utf-8?Q?" + QByteArray(55, 'w') + "?=\r\n =?utf-8?Q?" + QByteArray(13, 'w') + "?=";
        QTest::newRow("line breaks") << QStringLiteral("a\r\nBcc: b\nc\rd") << QByteArray("a Bcc: b c d");
        QTest::newRow("blank at the end") << QStringLiteral("a ") << QByteArray("=?utf-8?Q?a_?=");
        QTest::newRow("control character") << QStringLiteral("a\tb") << QByteArray("=?utf-8?Q?a=09b?=");
        QTest::newRow("looks encoded") << QStringLiteral("=?utf-8?Q?x?=")
                                       << QByteArray("=?utf-8?Q?=3D=3Futf-8=3FQ=3Fx=3F=3D?=");
    }

    void encodesSubjects()
    {
        QFETCH(QString, subject);
        QTEST(CQuotedPrintable::getUtf8EncodedSubject(subject), "encoded");
    }

    void othersDecodeTheSameText()
    {
        QRandomGenerator random(11);
        QList<QByteArray> expected;
        QByteArray input;
        for (int i = 0; i < 400; ++i) {
            const bool body = i % 2 == 0;
            const QByteArray text = randomText(random, random.bounded(body ? 2000 : 300), body).toUtf8();
            const QByteArray encoded = body ? CQuotedPrintable::getEncodedText(text, false)
                                            : CQuotedPrintable::getUtf8EncodedSubject(QString::fromUtf8(text));
            for (const QByteArray& line : QByteArray((body ? "" : "Subject: ") + encoded).split('\n')) {
                QVERIFY2(line.trimmed().size() <= 76, line.constData());
                const int word = body ? -1 : line.indexOf("=?utf-8?Q?");
                const QByteArray decoded = QByteArray::fromPercentEncoding(line.mid(word + 10), '=');
                QVERIFY(word < 0
                        || !QString::fromUtf8(decoded).contains(QChar::ReplacementCharacter)); // no character is cut
            }
            input += (body ? "body " : "subject ") + encoded.toHex() + '\n';
            expected.append(text.toHex());
        }
        QProcess python;
        python.start(QStringLiteral("python3"), {QStringLiteral(KYR_TEST_DIR "/decode_mail.py")});
        if (!python.waitForStarted(5000))
            QSKIP("python3 is missing");
        python.write(input);
        python.closeWriteChannel();
        QVERIFY(python.waitForFinished(6000));
        const QList<QByteArray> decoded = python.readAllStandardOutput().trimmed().split('\n');
        QVERIFY2(python.exitCode() == 0, python.readAllStandardError().constData());
        QCOMPARE(decoded.size(), expected.size());
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(QByteArray::fromHex(decoded.at(i)), QByteArray::fromHex(expected.at(i)));
    }
};

QTEST_GUILESS_MAIN(TestQuotedPrintable)
#include "tst_quoted_printable.moc"
