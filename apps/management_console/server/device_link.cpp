#include "server/device_link.h"

#include <foundation/core/json_text.h>
#include <foundation/network/web_socket_connection.h>

#include <QtCore/QJsonDocument>
#include <QtWebSockets/QWebSocket>

DeviceLink::DeviceLink(const Identity& identity, QWebSocket* socket, int pingSeconds, QObject* parent)
    : QObject(parent)
    , m_identity(identity)
    , m_connection(new CWebSocketConnection(socket, this))
    , m_since(QDateTime::currentDateTime())
{
    socket->setParent(this);
    connect(m_connection, &CMessageTransfer::dataReceived, this, &DeviceLink::onData);
    connect(m_connection, &CMessageTransfer::connectionStateChanged, this, [this](bool connected) {
        if (!connected)
            Q_EMIT ended();
    });
    m_connection->setKeepalive(pingSeconds);
    m_connection->updateConnectionState();
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

void DeviceLink::close()
{
    m_connection->close();
}

void DeviceLink::onData(const QByteArray& data)
{
    ++m_received;
    const QJsonObject answer = CJsonText::read(data).object();
    Q_EMIT answered(answer.value(QLatin1String("id")).toInt(), answer);
}
