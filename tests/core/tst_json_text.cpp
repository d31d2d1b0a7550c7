#include <foundation/core/json_text.h>

#include <QtCore/QJsonObject>
#include <QtTest/QtTest>

class tst_JsonText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each text with a "^" behind the opening quote of the key that stands again; none where no key does.
    void findsRepeatedKeys()
    {
        for (const char* row : {
                 "{}",
                 "",
                 "{",
                 "\"a\":1,\"a\":2",
                 "[{\"a\":1},{\"a\":2}]",
                 "{\"a\":{\"a\":{\"b\":\"a\"}},\"b\":[\"a\",\"a\"]}",
                 "{\"a\":\"a\",\"A\":1,\"a \":2}",
                 "{\"\\ud800\":1,\"\\ud801\":2}",
                 "{\"\\\\u0061\":1,\"a\":2}",
                 "{\"a\":[1],\"^a\":[2]}",
                 "{\"a\" : 1,\n\t\"b\":{},\"^a\"\r\n :2}",
                 "[[{\"x\":[{\"a\":{},\"^a\":{}}]}]]",
                 "{\"a\":{\"b\":1},\"c\":{\"b\":1},\"^a\":1}",
                 "{\"\":1,\"^\":2}",
                 "{\"a\":1,\"^\\u0061\":2}",
                 "{\"\\u00e4\":1,\"^\xC3\xA4\":2}",
                 "{\"\\uD83D\\uDD11\":1,\"^\xF0\x9F\x94\x91\":2}",
                 "{\"\\/\\n\\\"\":1,\"^/\\u000A\\u0022\":2}",
                 "{\"\\a\":1,\"^a\":2}",
                 "{\"^\\\x80\":1}",
                 "{\"a\":{},\"^a\":{},",
                 "{\"a\":{\"b\":1,\"^b\":2",
                 "{\"a\":1,\"^a\":tru\"",
                 "{\"b\":0,\"a\":0,\"c\":0,\"^a\":0,\"d\":0}",
             }) {
            QByteArray text = row;
            const int mark = text.indexOf('^');
            if (mark >= 0)
                text.remove(mark, 1);
            QVERIFY2(CJsonText::repeatedKey(text) == (mark < 0 ? -1 : mark - 1), row);
            QJsonParseError error;
            const QJsonDocument read = CJsonText::read(text, &error);
            if (mark < 0)
                QVERIFY2(read == QJsonDocument::fromJson(text), row);
            else
                QVERIFY2(read.isNull() && error.error == QJsonParseError::IllegalValue && error.offset == mark - 1,
                         row);
        }
        QCOMPARE(CJsonText::read("{\"a\":{\"b\":[7]}}").object().value("a").toObject().size(), 1);
    }

    // A reader of Qt gives up at the same depth, so what is behind it is never read.
    void endsAtTheDepthOfReaders()
    {
        const auto nested = [](int depth) { return QByteArray(depth - 1, '[').append("{\"a\":[],\"a\":[]}"); };
        QVERIFY(CJsonText::repeatedKey(nested(1023)) >= 0);
        const QByteArray tooDeep = nested(1025).append(QByteArray(1024, ']'));
        QCOMPARE(CJsonText::repeatedKey(tooDeep), -1);
        QVERIFY(QJsonDocument::fromJson(tooDeep).isNull());
        QCOMPARE(CJsonText::repeatedKey(QByteArray("{\"a\":1,\"a\":").append(QByteArray(1000000, '['))), 7);
    }
};

QTEST_GUILESS_MAIN(tst_JsonText)
#include "tst_json_text.moc"
