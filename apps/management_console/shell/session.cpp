#include "shell/session.h"

#include "server/device_server.h"
#include "shell/console.h"
#include "shell/terminal.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>
#include <foundation/services/script_service.h>

Session::Session(Console* console)
    : QObject(console)
    , m_console(console)
{
}

Session::~Session() = default;

void Session::line(const QString& text)
{
    progress(QString());
    m_console->writeText(text);
}

void Session::lines(const QStringList& texts)
{
    for (const QString& text : texts)
        line(text);
}

void Session::error(const QString& text)
{
    progress(QString());
    m_console->writeErrorText(Terminal::printable(text));
}

void Session::news(const QString& text)
{
    m_console->writeEvent(Terminal::printable(text));
}

void Session::progress(const QString& text)
{
    m_console->showProgress(text);
}

bool Session::colour() const
{
    return m_console->colour();
}

CAccessControlMock& Session::model()
{
    if (!m_model)
        m_model = std::make_unique<CAccessControlMock>();
    return *m_model;
}

CScriptService& Session::scripts()
{
    if (!m_scripts)
        m_scripts = std::make_unique<CScriptService>(&model(), nullptr);
    return *m_scripts;
}

void Session::quit()
{
    m_console->terminate();
}

void Session::setServer(std::unique_ptr<DeviceServer> server)
{
    m_server = std::move(server);
    if (!m_server)
        return;
    connect(m_server.get(), &DeviceServer::deviceCame, this, [this](const DeviceLink::Identity& device) {
        news(QStringLiteral("%1 %2 came in from %3 (%4 ms)")
                 .arg(deviceTypeName(device.type), device.id.toLabel(), device.peer)
                 .arg(device.handshakeMs));
    });
    connect(m_server.get(), &DeviceServer::deviceLeft, this, [this](const DeviceLink::Identity& device) {
        news(QStringLiteral("%1 %2 has gone").arg(deviceTypeName(device.type), device.id.toLabel()));
    });
    connect(m_server.get(), &DeviceServer::refused, this, [this](const DeviceServer::Refusal& refusal) {
        const QString device = refusal.device.isEmpty() ? QString() : QString(refusal.device + QLatin1Char(' '));
        news(QStringLiteral("refused %1from %2: %3").arg(device, refusal.peer, refusal.reason));
    });
}

QString deviceTypeName(int type)
{
    return QString::fromUtf8(CDataType::deviceTypeToString(CDataType::deviceTypeCast(type)));
}
