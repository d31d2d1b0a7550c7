#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

class PendingData;

/// Carries byte messages over one connection: what everything above the network sees of TCP, TLS and WebSocket.
///
///     connect(transfer, &CMessageTransfer::dataReceived, this, &Protocol::onData);
///     connect(transfer, &CMessageTransfer::connectionStateChanged, this, &Protocol::onConnected);
///     transfer->open();
///
/// Transports can be layered: one whose parent is a transport too hands on to it what it does not do itself. A
/// receiver may close or delete the transport, or send, from within any signal.
class KYR_FOUNDATION_EXPORT CMessageTransfer : public QObject
{
    Q_OBJECT

public:
    explicit CMessageTransfer(QObject* parent = nullptr);
    ~CMessageTransfer() override;

public Q_SLOTS:
    /// Starts connecting; connectionStateChanged or error tell the outcome.
    virtual void open();

public:
    virtual void close();

    /// Queues `data` behind what was sent before. The number of bytes taken, or -1 when there is no connection to take
    /// them. dataTransmitted tells when they have left.
    virtual qint64 sendData(const QByteArray& data) = 0;
    /// Sends each message in order.
    virtual void sendMessages(const QList<QByteArray>& messages);

    /// Whether data can travel now.
    virtual bool getConnectionState() const;
    /// The last error's code, whose meaning is the transport's; its text is for people.
    virtual int getError() const = 0;
    virtual QString getErrorString() const = 0;

    virtual void clearTransmitQueue();
    /// What debugMessage tells: nothing at 0, the bytes sent and received (as toHex writes them) from 1 on.
    virtual void setDebugLevel(int level);
    /// Seconds without traffic until the peer is asked for a sign of life; 0 or less never asks.
    virtual void setKeepalive(int seconds);

public Q_SLOTS:
    /// Looks at the connection again and reports a change.
    virtual void updateConnectionState();

public:
    /// The prefix, then each byte as two lower-case hexadecimal digits and a blank.
    static QString toHex(const QByteArray& data, const QString& prefix);

Q_SIGNALS:
    void connectionStateChanged(bool);
    /// The next bytes of the stream, in whatever pieces the transport delivers them.
    void dataReceived(const QByteArray& data);
    /// Bytes that were handed to the network, each byte once and in order.
    void dataTransmitted(const QByteArray&);
    void error(int);
    void debugMessage(const QString&);

protected:
    CMessageTransfer* lowerTransfer() const { return m_lowerTransfer; }
    int debugLevel() const { return m_debugLevel; }
    /// Tells of bytes that pass, when the debug level asks for it; `prefix` says which way. False when a receiver has
    /// deleted this.
    bool trace(const QByteArray& data, const char* prefix) { return m_debugLevel < 1 || tellBytes(data, prefix); }
    /// Takes bytes that have left from those that were handed over, and emits dataTransmitted with them.
    void reportTransmitted(PendingData& pendingData, qint64 bytes);

private:
    bool tellBytes(const QByteArray& data, const char* prefix);

    QPointer<CMessageTransfer> m_lowerTransfer;
    int m_debugLevel = 0;
};
