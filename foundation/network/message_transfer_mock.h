#pragma once

#include <foundation/network/message_transfer.h>

/// A transport without a network, to exercise the layers above: all that is sent counts as transmitted at once, and
/// receiveData plays the peer.
///
///     CMessageTransferMock mock(nullptr);
///     Protocol protocol(&mock);
///     mock.open();
///     mock.receiveData(answer);
class KYR_FOUNDATION_EXPORT CMessageTransferMock : public CMessageTransfer
{
    Q_OBJECT

public:
    explicit CMessageTransferMock(QObject* parent = nullptr);

    /// Reports "connected", however often it is called; close likewise the opposite.
    void open() override;
    void close() override;
    qint64 sendData(const QByteArray& data) override;
    bool getConnectionState() const override { return m_connectionState; }
    int getError() const override { return 0; }
    QString getErrorString() const override { return QStringLiteral(""); }

    /// Lets `data` arrive.
    void receiveData(const QByteArray& data);

private:
    bool m_connectionState = false;
};
