#pragma once

#include <server/bridge/bridge_message_p.h>

#include <QtCore/QMap>
#include <QtCore/QSet>

/// What other servers have told here, by their own count: whether a message is news, and which were missed. A gap is
/// asked for at once and a few times more, since the question, too, may be lost, or its answer.
///
/// Whoever may write at the broker can think of any number of servers and of any gap: both are limited.
class BridgePeers
{
public:
    /// A server and what it is asked to send again.
    struct Request
    {
        QString server;
        BridgeReplay missed;
    };

    struct Heard
    {
        bool isNews = false;
        std::optional<Request> request{}; ///< to be sent now
    };
    Heard hear(const QString& server, const BridgeNotification& notification);
    /// What is to be asked for once more; called with each beat on which the broker can be reached.
    QList<Request> requests();

private:
    /// A source of another server.
    struct Peer
    {
        QString server;
        QString source;
        QString epoch{};
        qint64 highest = 0;
        QSet<qint64> missing{};
        int asked = 0;    ///< times, since something came
        int patience = 0; ///< beats until it is asked for again
    };
    QMap<QString, Peer> m_peers;
};
