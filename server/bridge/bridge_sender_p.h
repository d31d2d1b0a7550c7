#pragma once

#include <server/bridge/bridge_replays_p.h>
#include <server/bridge/bridge_states_p.h>

#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

/// Sends to the broker what is to be told: messages from the tables, news of the moment, states, and what others have
/// missed. Each kind has its turn, so that a long backlog of one holds up none of the others, and at most
/// CNotificationBridge::mostInFlight messages are on the way.
class BridgeSender : public QObject
{
    Q_OBJECT

public:
    /// `broker` names it in the log. Topics and store outlive this; without its client nothing is sent any more.
    BridgeSender(CMqttClient* client, const QString& broker, const BridgeTopics* topics, BridgeStore* store);

    /// The store was opened: its messages are sent from where it says that the broker is.
    void begin();
    /// Sends what can be sent now; called when something was stored.
    void fill();
    /// A connection has begun or ended. What was not acknowledged is sent again, and the states of all devices with it.
    void connected(CDatabase* database, const IDeviceLinks* links);
    void disconnected();
    /// What became of a message: as CMqttClient::published() says.
    void published(qint64 id, const QString& fault);

    /// News that stands in no table.
    void tell(const QString& source, const QVariantMap& data);
    void tellDevice(CDeviceId device, bool isLinked);
    /// Another server has missed something; and this one asks another for what it has missed.
    void replay(const BridgeReplay& request);
    void ask(const QString& server, const BridgeReplay& missed);

    /// Below a server's place: where it is asked for what was missed.
    static QString replayTopic() { return QStringLiteral("replay"); }

    /// By source, the last number that the broker has, where the store does not know it yet.
    QMap<QString, qint64> acknowledged() const;
    /// Of news: messages that were not sent, and those that nobody will hear.
    qint64 waitingNews() const { return m_ring.waiting(); }
    qint64 droppedNews() const { return m_ring.dropped() + m_refusedNews; }
    /// What the broker does not take; empty when it takes all.
    QString refusal() const { return m_refusal; }

Q_SIGNALS:
    /// A stored message was acknowledged or refused: acknowledged() may have more.
    void acknowledgedMore();
    /// The first refusal of a connection, see refusal().
    void refused();

private:
    /// A message that the broker has neither acknowledged nor refused.
    struct InFlight
    {
        enum Kind
        {
            Stored, ///< number: its own
            News,   ///< number: its place in the ring
            Other
        };
        Kind kind = Other;
        QString source{}; ///< empty for a state
        qint64 number = 0;
        QString topic{};
    };

    void rewind();
    bool sendStored(const QString& source);
    bool sendState();
    bool sendNews();
    bool sendReplayed();
    void send(InFlight what, MqttMessage message, const QString& epoch = {}, qint64 seq = 0);
    int room() const;

    QPointer<CMqttClient> m_client;
    QString m_broker;
    const BridgeTopics* m_topics;
    BridgeStore* m_store;
    BridgeReplays::Sources m_stored;
    VolatileRing m_ring;
    BridgeReplays m_replays;
    BridgeStates m_states;
    QHash<qint64, InFlight> m_inFlight; // by the client's id
    qint64 m_lastId = 0;
    int m_turn = 0;
    QString m_refusal;
    qint64 m_refusedNews = 0;
    QTimer m_refusedTimer;
};
