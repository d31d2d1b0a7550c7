#include <server/bridge/bridge_peers_p.h>

#include <algorithm>

namespace {

// Servers times sources that are followed, and numbers of one of them that are waited for.
constexpr int mostPeers = 1000;
constexpr int mostMissing = 1000;
// Beats until what was asked for and did not come is asked for again, and how often.
constexpr int patientBeats = 5;
constexpr int mostAsked = 3;

} // namespace

BridgePeers::Heard BridgePeers::hear(const QString& server, const BridgeNotification& notification)
{
    const QString key = server + QLatin1Char('/') + notification.source;
    auto peer = m_peers.find(key);
    if (peer == m_peers.end()) {
        if (m_peers.size() >= mostPeers)
            return {};
        peer = m_peers.insert(key, {server, notification.source});
    }
    if (peer->epoch != notification.epoch || peer->highest == 0) {
        *peer = {server, notification.source, notification.epoch, notification.seq};
        return {true};
    }
    if (notification.seq <= peer->highest) {
        peer->asked = 1;
        return {peer->missing.remove(notification.seq)};
    }
    Heard heard{true};
    const qint64 first = qMax(peer->highest + 1, notification.seq - mostMissing);
    if (first < notification.seq) {
        for (qint64 seq = first; seq < notification.seq && peer->missing.size() < mostMissing; ++seq)
            peer->missing.insert(seq);
        peer->asked = 1;
        peer->patience = patientBeats;
        heard.request = {server, {notification.source, notification.epoch, first, notification.seq - 1}};
    }
    peer->highest = notification.seq;
    return heard;
}

QList<BridgePeers::Request> BridgePeers::requests()
{
    QList<Request> requests;
    for (Peer& peer : m_peers) {
        if (peer.missing.isEmpty() || --peer.patience > 0)
            continue;
        if (++peer.asked > mostAsked) {
            peer.missing.clear();
            continue;
        }
        peer.patience = patientBeats;
        const auto [first, last] = std::minmax_element(peer.missing.cbegin(), peer.missing.cend());
        requests.append({peer.server, {peer.source, peer.epoch, *first, *last}});
    }
    return requests;
}
