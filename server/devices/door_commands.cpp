#include <server/devices/door_commands_p.h>

namespace {

// Whoever else asks over the same links counts in ints; those of lists begin above, see DoorSession.
constexpr qint64 firstCommand = qint64(1) << 32;

} // namespace

DoorCommands::DoorCommands(IDeviceLinks* links, QObject* context)
    : m_links(links)
    , m_context(context)
    , m_lastNumber(firstCommand)
{
    m_clock.start();
}

qint64 DoorCommands::send(CDeviceId device, const CLockToDevice& body)
{
    const qint64 number = ++m_lastNumber;
    return m_links->send(device, CLockMessage::toBytes(CLockCommand{number, body})) ? number : 0;
}

void DoorCommands::send(CDeviceId device, const CProvisioner::Commands& commands)
{
    for (const CLockCommand& command : commands)
        m_links->send(device, CLockMessage::toBytes(command));
}

bool DoorCommands::tell(CDeviceId device, const CLockToDevice& body)
{
    return send(device, body) != 0 || askRemote(m_remote, device, body, {});
}

void DoorCommands::ask(CDeviceId device, const CLockToDevice& body, const Answer& answer)
{
    const qint64 number = send(device, body);
    if (number != 0)
        m_waiting.insert(number, {device, answer, m_clock.elapsed() + CDoorController::answerWait});
    else if (!askRemote(m_remote, device, body, answer))
        reply(answer, QStringLiteral("device %1 is not linked").arg(device.toLabel()));
}

bool DoorCommands::askRemote(CRemoteDevices* remote, CDeviceId device, const CLockToDevice& body, const Answer& answer)
{
    if (!remote || !device.isValid() || !remote->isElsewhere(device))
        return false;
    const auto* open = std::get_if<CLockOpen>(&body);
    const QByteArray message = CLockMessage::toBytes(CLockCommand{1, body});
    remote->ask(device, QStringLiteral("lock"), {{QStringLiteral("message"), QString::fromUtf8(message)}},
                open ? open->operatorName : QString(), [answer](const QString& error, const QJsonObject&) {
                    if (answer)
                        answer(error);
                });
    return true;
}

bool DoorCommands::take(CDeviceId device, const CLockAnswer& answer)
{
    const auto found = m_waiting.find(answer.id);
    if (found == m_waiting.end() || found->device != device)
        return false;
    reply(found->answer, answer.error);
    m_waiting.erase(found);
    return true;
}

void DoorCommands::lose(CDeviceId device)
{
    for (auto entry = m_waiting.begin(); entry != m_waiting.end();) {
        if (entry->device != device) {
            ++entry;
            continue;
        }
        reply(entry->answer, QStringLiteral("device %1 has lost its link").arg(device.toLabel()));
        entry = m_waiting.erase(entry);
    }
}

void DoorCommands::expire()
{
    const qint64 now = m_clock.elapsed();
    for (auto entry = m_waiting.begin(); entry != m_waiting.end();) {
        if (now < entry->until) {
            ++entry;
            continue;
        }
        reply(entry->answer, QStringLiteral("device %1 did not answer").arg(entry->device.toLabel()));
        entry = m_waiting.erase(entry);
    }
}

void DoorCommands::reply(const Answer& answer, const QString& error)
{
    if (answer)
        QMetaObject::invokeMethod(
            m_context, [answer, error] { answer(error); }, Qt::QueuedConnection);
}
