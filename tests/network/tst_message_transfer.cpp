#include <foundation/network/message_transfer_mock.h>

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

namespace {

// A layer that leaves to its parent what the base leaves to it.
struct Layer : CMessageTransfer
{
    explicit Layer(QObject* parent)
        : CMessageTransfer(parent)
    {
    }
    qint64 sendData(const QByteArray& data) override
    {
        sent.append(data);
        if (deleteWhenSending)
            delete this;
        return 0;
    }
    int getError() const override { return 7; }
    QString getErrorString() const override { return {}; }
    void clearTransmitQueue() override
    {
        ++cleared;
        CMessageTransfer::clearTransmitQueue();
    }
    using CMessageTransfer::debugLevel;

    static QByteArrayList sent;
    int cleared = 0;
    bool deleteWhenSending = false;
};
QByteArrayList Layer::sent;

} // namespace

class MessageTransferTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toHex()
    {
        const QString prefix = QStringLiteral("RX ");
        QCOMPARE(CMessageTransfer::toHex(QByteArray("\x0a\xff", 2), prefix), QStringLiteral("RX 0a ff "));
        QCOMPARE(CMessageTransfer::toHex({}, prefix), prefix);
    }

    void layers()
    {
        QObject plain;
        Layer alone(&plain);
        alone.open();
        alone.close();
        alone.clearTransmitQueue();
        QVERIFY(!alone.getConnectionState());

        CMessageTransferMock mock(nullptr);
        auto* middle = new Layer(&mock);
        auto* top = new Layer(middle);
        QVERIFY(QMetaObject::invokeMethod(top, "open"));
        QVERIFY(mock.getConnectionState() && top->getConnectionState());
        QVERIFY(QMetaObject::invokeMethod(top, "updateConnectionState"));
        top->close();
        QVERIFY(!mock.getConnectionState() && !top->getConnectionState());
        top->clearTransmitQueue();
        QCOMPARE(middle->cleared, 1);
        top->setDebugLevel(3);
        QCOMPARE(top->debugLevel(), 3);
        QCOMPARE(middle->debugLevel(), 3);
    }

    void sendMessages()
    {
        auto* layer = new Layer(nullptr);
        layer->sendMessages({});
        QVERIFY(Layer::sent.isEmpty());
        layer->sendMessages({"one", "", "two"});
        QCOMPARE(Layer::sent, (QByteArrayList{"one", "", "two"}));
        layer->deleteWhenSending = true;
        layer->sendMessages({"three", "never"});
        QCOMPARE(Layer::sent.size(), 4);
    }

    void mock()
    {
        CMessageTransferMock mock(nullptr);
        QSignalSpy states(&mock, &CMessageTransfer::connectionStateChanged);
        QSignalSpy transmitted(&mock, &CMessageTransfer::dataTransmitted);
        QSignalSpy received(&mock, &CMessageTransfer::dataReceived);
        QVERIFY(!mock.getConnectionState());
        mock.open();
        mock.open();
        mock.close();
        mock.close();
        QCOMPARE(states, (QList<QVariantList>{{true}, {true}, {false}, {false}}));
        QCOMPARE(mock.sendData("out"), qint64(3));
        mock.receiveData("in");
        QCOMPARE(transmitted, (QList<QVariantList>{{QByteArray("out")}}));
        QCOMPARE(received, (QList<QVariantList>{{QByteArray("in")}}));
        QCOMPARE(mock.getError(), 0);
        QCOMPARE(mock.getErrorString(), QString());
    }
};

QTEST_GUILESS_MAIN(MessageTransferTest)

#include "tst_message_transfer.moc"
