#include <foundation/network/message_transfer_mock.h>

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

namespace {

// A layer that leaves to its parent whatever the base leaves to it.
struct Layer : CMessageTransfer
{
    using CMessageTransfer::CMessageTransfer;
    using CMessageTransfer::debugLevel;

    qint64 sendData(const QByteArray& data) override
    {
        sent.append(data);
        if (data == "delete")
            delete this;
        return 0;
    }
    int getError() const override { return 7; }
    QString getErrorString() const override { return {}; }

    static inline QByteArrayList sent;
};

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
        QVERIFY(!alone.getConnectionState());

        CMessageTransferMock mock(nullptr);
        auto* middle = new Layer(&mock);
        auto* top = new Layer(middle);
        QVERIFY(QMetaObject::invokeMethod(top, "open"));
        QVERIFY(mock.getConnectionState() && top->getConnectionState());
        QVERIFY(QMetaObject::invokeMethod(top, "updateConnectionState"));
        top->close();
        QVERIFY(!mock.getConnectionState() && !top->getConnectionState());
        top->setDebugLevel(3);
        QCOMPARE(top->debugLevel() + middle->debugLevel(), 6);

        (new Layer(nullptr))->sendMessages({"one", "", "two", "delete", "never"});
        QCOMPARE(Layer::sent, (QByteArrayList{"one", "", "two", "delete"}));
    }

    void mock()
    {
        CMessageTransferMock mock(nullptr);
        QSignalSpy states(&mock, &CMessageTransfer::connectionStateChanged);
        QSignalSpy transmitted(&mock, &CMessageTransfer::dataTransmitted);
        QSignalSpy received(&mock, &CMessageTransfer::dataReceived);
        mock.open();
        mock.open();
        mock.close();
        mock.close();
        mock.sendData("out");
        mock.receiveData("in");
        QCOMPARE(states, (QList<QVariantList>{{true}, {true}, {false}, {false}}));
        QCOMPARE(transmitted, (QList<QVariantList>{{QByteArray("out")}}));
        QCOMPARE(received, (QList<QVariantList>{{QByteArray("in")}}));
    }
};

QTEST_GUILESS_MAIN(MessageTransferTest)

#include "tst_message_transfer.moc"
