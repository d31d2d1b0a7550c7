#include <foundation/network/message_transfer.h>

#include <foundation/network/pending_data_p.h>

#include <QtCore/QMetaMethod>

CMessageTransfer::CMessageTransfer(QObject* parent)
    : QObject(parent)
    , m_lowerTransfer(qobject_cast<CMessageTransfer*>(parent))
{
}

CMessageTransfer::~CMessageTransfer() = default;

void CMessageTransfer::open()
{
    if (m_lowerTransfer)
        m_lowerTransfer->open();
}

void CMessageTransfer::close()
{
    if (m_lowerTransfer)
        m_lowerTransfer->close();
}

void CMessageTransfer::sendMessages(const QList<QByteArray>& messages)
{
    // Sending may run receivers, and a receiver may delete this or change the list.
    const QPointer<CMessageTransfer> alive(this);
    const QList<QByteArray> pending = messages;
    for (const QByteArray& message : pending) {
        if (!alive)
            return;
        sendData(message);
    }
}

bool CMessageTransfer::getConnectionState() const
{
    return m_lowerTransfer && m_lowerTransfer->getConnectionState();
}

void CMessageTransfer::clearTransmitQueue()
{
    if (m_lowerTransfer)
        m_lowerTransfer->clearTransmitQueue();
}

void CMessageTransfer::setDebugLevel(int level)
{
    m_debugLevel = level;
    if (m_lowerTransfer)
        m_lowerTransfer->setDebugLevel(level);
}

void CMessageTransfer::setKeepalive(int) {}

void CMessageTransfer::updateConnectionState() {}

QString CMessageTransfer::toHex(const QByteArray& data, const QString& prefix)
{
    return data.isEmpty() ? prefix : QString(prefix + QLatin1String(data.toHex(' ')) + QLatin1Char(' '));
}

bool CMessageTransfer::tellBytes(const QByteArray& data, const char* prefix)
{
    const QPointer<CMessageTransfer> alive(this);
    Q_EMIT debugMessage(toHex(data, QLatin1String(prefix)));
    return alive;
}

void CMessageTransfer::reportTransmitted(PendingData& pendingData, qint64 bytes)
{
    // Nobody listening: the bytes need not be put together.
    static const QMetaMethod signal = QMetaMethod::fromSignal(&CMessageTransfer::dataTransmitted);
    if (!isSignalConnected(signal)) {
        pendingData.drop(bytes);
        return;
    }
    const QByteArray data = pendingData.take(bytes);
    if (!data.isEmpty())
        Q_EMIT dataTransmitted(data);
}
