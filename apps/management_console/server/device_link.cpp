#include "server/device_link.h"

#include <foundation/core/debug.h>
#include <foundation/core/json_text.h>
#include <foundation/network/web_socket_connection.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QPointer>
#include <QtWebSockets/QWebSocket>

namespace {

constexpr int watchMs = 500;

} // namespace

DeviceLink::DeviceLink(const Identity& identity, QWebSocket* socket, int pingSeconds, QObject* parent)
    : QObject(parent)
    , m_identity(identity)
    , m_connection(CWebSocketConnection::takeOver(socket, pingSeconds, this))
    , m_since(QDateTime::currentDateTime())
    , m_lastHeard(m_since)
    , m_pingSeconds(pingSeconds)
{
    connect(m_connection, &CMessageTransfer::dataReceived, this, &DeviceLink::onData);
    connect(m_connection, &CMessageTransfer::connectionStateChanged, this, [this](bool connected) {
        if (!connected)
            Q_EMIT ended();
    });
    connect(socket, &QWebSocket::pong, this, &DeviceLink::onHeard);
    connect(&m_watch, &QTimer::timeout, this, &DeviceLink::onWatch);
    m_silence.start();
    m_watch.start(watchMs);
}

DeviceLink::~DeviceLink()
{
    m_connection->disconnect(this);
}

int DeviceLink::ask(QJsonObject question)
{
    question.insert(QStringLiteral("id"), ++m_lastNumber);
    m_connection->sendData(QJsonDocument(question).toJson(QJsonDocument::Compact));
    ++m_sent;
    return m_lastNumber;
}

void DeviceLink::send(const QByteArray& message)
{
    m_connection->sendData(message);
    ++m_sent;
}

void DeviceLink::close()
{
    m_connection->close();
}

void DeviceLink::onData(const QByteArray& data)
{
    ++m_received;
    onHeard();
    QPointer<DeviceLink> guard(this);
    Q_EMIT received(data);
    if (!guard)
        return;
    const QJsonObject answer = CJsonText::read(data).object();
    Q_EMIT answered(answer.value(QLatin1String("id")).toInt(), answer);
}

void DeviceLink::onHeard()
{
    m_silence.restart();
    m_lastHeard = QDateTime::currentDateTime();
}

void DeviceLink::onWatch()
{
    // One ping went out after the last sign of life, and the time for its answer is over.
    if (!m_silence.hasExpired(m_pingSeconds * 2000LL + graceMs))
        return;
    m_watch.stop();
    const CLogFields fields(
        {{QStringLiteral("device"), m_identity.id.toLabel()}, {QStringLiteral("peer"), m_identity.peer}});
    qInfo("Device %s %s no longer answers: its link ends", qUtf8Printable(m_identity.id.toLabel()),
          qUtf8Printable(m_identity.peer));
    Q_EMIT ended();
}
