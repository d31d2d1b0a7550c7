#include <server/bridge/bridge_states_p.h>

#include <server/database/sql_statement_p.h>
#include <server/devices/device_links.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QSet>

MqttMessage BridgeStates::ofServer(const BridgeTopics& topics, const char* state)
{
    return {topics.own(QStringLiteral("state")), QByteArrayLiteral("{\"state\":\"") + state + QByteArrayLiteral("\"}"),
            true};
}

void BridgeStates::noteDevice(CDeviceId device, bool isLinked)
{
    const QJsonObject state{{QStringLiteral("linked"), isLinked},
                            {QStringLiteral("at"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)}};
    note({m_topics->own(QStringLiteral("device/%1/state").arg(device.toLabel())),
          QJsonDocument(state).toJson(QJsonDocument::Compact), true});
}

void BridgeStates::noteAll(CDatabase* database, const IDeviceLinks* links)
{
    note(ofServer(*m_topics, "up"));
    QSet<quint32> linked;
    if (links) {
        const QList<CDeviceId> devices = links->linkedDevices();
        for (const CDeviceId device : devices) {
            linked.insert(device.value());
            noteDevice(device, true);
        }
    }
    SqlStatement known(database, QStringLiteral("SELECT device FROM device_state"));
    for (known.exec(); known.next();) {
        if (!linked.contains(quint32(known.integer(0))))
            noteDevice(CDeviceId(known.integer(0)), false);
    }
}

std::optional<MqttMessage> BridgeStates::next()
{
    if (m_unsaid.isEmpty())
        return std::nullopt;
    // That the server is up comes first: "state" stands behind all "device/..." otherwise.
    const QString up = m_topics->own(QStringLiteral("state"));
    return m_unsaid.take(m_unsaid.contains(up) ? up : m_unsaid.firstKey());
}
