#pragma once

#include <server/bridge/bridge_message_p.h>

#include <foundation/core/device_id.h>

#include <QtCore/QMap>

class CDatabase;
class IDeviceLinks;

/// What the broker is to remember (retained): whether this server is up, and whether its devices are linked. Only the
/// last word of each is kept until it is said.
class BridgeStates
{
public:
    /// The topics outlive it.
    explicit BridgeStates(const BridgeTopics* topics)
        : m_topics(topics)
    {
    }

    /// The message of a server's own state: "up", "ended" or "lost".
    static MqttMessage ofServer(const BridgeTopics& topics, const char* state);

    void noteDevice(CDeviceId device, bool isLinked);
    /// That the server is up, and all devices that are linked or were ever: the broker remembers what an earlier life
    /// of this server said, or nothing at all. `links` may be null.
    void noteAll(CDatabase* database, const IDeviceLinks* links);

    /// The next message; nothing when all was said.
    std::optional<MqttMessage> next();

private:
    void note(const MqttMessage& message) { m_unsaid.insert(message.topic, message); }

    const BridgeTopics* m_topics;
    QMap<QString, MqttMessage> m_unsaid; // by topic
};
