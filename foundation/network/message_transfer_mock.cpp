#include <foundation/network/message_transfer_mock.h>

CMessageTransferMock::CMessageTransferMock(QObject* parent)
    : CMessageTransfer(parent)
{
}

void CMessageTransferMock::open()
{
    m_connectionState = true;
    Q_EMIT connectionStateChanged(true);
}

void CMessageTransferMock::close()
{
    m_connectionState = false;
    Q_EMIT connectionStateChanged(false);
}

qint64 CMessageTransferMock::sendData(const QByteArray& data)
{
    const qint64 size = data.size();
    Q_EMIT dataTransmitted(data);
    return size;
}

void CMessageTransferMock::receiveData(const QByteArray& data)
{
    Q_EMIT dataReceived(data);
}
