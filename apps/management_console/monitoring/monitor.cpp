#include "monitoring/monitor.h"

#include "server/device_server.h"
#include "server/front_door.h"

#include <server/audit/audit_trail.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QTimer>

#include <algorithm>

namespace {

// What peers are refused for, without what they have said themselves: they could make any number of reasons.
constexpr const char* knownReasons[] = {"TLS failed",
                                        "another request from its address and port",
                                        "connection closed before authentication",
                                        "initial response timeout",
                                        "invalid device ID",
                                        "invalid device certificate",
                                        "invalid random number",
                                        "invalid request line",
                                        "invalid server IP",
                                        "invalid signature",
                                        "message above",
                                        "missing request",
                                        "no HTTP request",
                                        "no PROXY header",
                                        "no TLS in time",
                                        "no WebSocket",
                                        "no answer in time",
                                        "no request in time",
                                        "no trusted balancer",
                                        "no whole request in time",
                                        "request timeout",
                                        "request too long",
                                        "too many connections",
                                        "too many pending handshakes",
                                        "unhandled websocket",
                                        "unread answers"};
constexpr const char* otherReason = "other";

QByteArray reasonLabel(const QString& reason)
{
    const auto begins = [&reason](const char* text) { return reason.startsWith(QLatin1String(text)); };
    const auto found = std::find_if(std::begin(knownReasons), std::end(knownReasons), begins);
    return found == std::end(knownReasons) ? otherReason : *found;
}

} // namespace

Monitor::Monitor(DeviceServer* server, CSqlAccessControl* model, CAuditTrail* trail, const Networks& metricsFrom)
    : m_server(server)
    , m_model(model)
    , m_trail(trail)
    , m_metricsFrom(metricsFrom)
    , m_ends(trail->ends())
    , m_handshakes({0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5})
    , m_database({0.0001, 0.00025, 0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 1})
    , m_start(QDateTime::currentSecsSinceEpoch())
{
    // A counter that is not there before its first event has no rate then.
    for (const char* reason : knownReasons)
        m_refusals.insert(reason, 0);
    m_refusals.insert(otherReason, 0);
    for (quint32 kind = 1; !auditKindName(AuditKind(kind)).isEmpty(); ++kind)
        m_events.insert(auditKindName(AuditKind(kind)).toLatin1(), 0);
    connect(server, &DeviceServer::deviceCame, this,
            [this](const DeviceLink::Identity& device) { m_handshakes.observe(device.handshakeMs / 1000.0); });
    connect(server, &DeviceServer::refused, this,
            [this](const DeviceServer::Refusal& refusal) { ++m_refusals[reasonLabel(refusal.reason)]; });
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this] {
        probe();
        countEvents(); // in small parts, whoever asks or does not
    });
    timer->start(probeInterval);
    server->door().serve("GET", "/health",
                         [this](const HttpRequest&, const FrontDoor::Reply& reply) { reply(answerHealth()); });
    server->door().serve("GET", "/metrics", [this](const HttpRequest& request, const FrontDoor::Reply& reply) {
        reply(answerMetrics(request));
    });
}

Monitor::~Monitor()
{
    m_server->door().serve("GET", "/health", {});
    m_server->door().serve("GET", "/metrics", {});
}

void Monitor::addQueue(const QByteArray& name, const std::function<qint64()>& length)
{
    m_queues.insert(name, length);
}

bool Monitor::probe()
{
    if (m_lastProbe.isValid() && m_lastProbe.elapsed() < probePause)
        return m_isReadable;
    QElapsedTimer timer;
    timer.start();
    const qint64 failures = m_model->database()->failures();
    m_model->getSystemInfo();
    m_isReadable = m_model->database()->isOpen() && m_model->database()->failures() == failures;
    if (m_isReadable)
        m_database.observe(double(timer.nsecsElapsed()) / 1e9);
    m_lastProbe.start();
    return m_isReadable;
}

// Each server counts what it has recorded itself: the sum over all servers is what happened.
void Monitor::countEvents()
{
    const QMap<qint64, QString> chains = m_trail->chains();
    const QList<AuditRecord> events = m_trail->newEvents({}, &m_ends);
    for (const AuditRecord& event : events) {
        if (chains.value(event.chain) == m_trail->chainName())
            ++m_events[auditKindName(AuditKind(event.kind)).toLatin1()];
    }
}

QStringList Monitor::faults()
{
    QStringList faults;
    if (m_model->database()->isAway() || !probe())
        faults.append(QStringLiteral("the database cannot be read"));
    if (!m_model->database()->changeFault().isEmpty())
        faults.append(QStringLiteral("the database takes no changes"));
    const QDateTime end = m_server->certificateEnd();
    if (end.isValid() && end < QDateTime::currentDateTimeUtc())
        faults.append(QStringLiteral("the certificate has expired"));
    return faults;
}

HttpAnswer Monitor::answerHealth()
{
    const QStringList reasons = faults();
    const QJsonObject health{
        {QStringLiteral("status"), reasons.isEmpty() ? QStringLiteral("ok") : QStringLiteral("failing")},
        {QStringLiteral("reasons"), QJsonArray::fromStringList(reasons)}};
    return {reasons.isEmpty() ? 200 : 503,
            "application/json",
            QJsonDocument(health).toJson(QJsonDocument::Compact) + '\n',
            {"Cache-Control: no-store"}};
}

bool Monitor::mayRead(const QHostAddress& peer) const
{
    return peer.isLoopback() || std::any_of(m_metricsFrom.begin(), m_metricsFrom.end(), [&peer](const auto& network) {
               return peer.isInSubnet(network);
           });
}

HttpAnswer Monitor::answerMetrics(const HttpRequest& request)
{
    if (!mayRead(request.peer))
        return {403, "text/plain", "not allowed from this address\n"};
    return {200, MetricsText::contentType(), metrics(), {"Cache-Control: no-store"}};
}

QByteArray Monitor::metrics()
{
    probe();
    countEvents();
    MetricsText text;
    text.begin("kyr_build_info", "gauge", "The version of the program.");
    text.sample("kyr_build_info", 1, {{"version", KYR_VERSION}});
    text.begin("kyr_start_time_seconds", "gauge", "When serving began, seconds since 1970.");
    text.sample("kyr_start_time_seconds", double(m_start));
    text.begin("kyr_certificate_end_seconds", "gauge", "When the certificate ends, seconds since 1970.");
    text.sample("kyr_certificate_end_seconds", double(m_server->certificateEnd().toSecsSinceEpoch()));
    text.begin("kyr_links", "gauge", "Devices that are linked.");
    text.sample("kyr_links", m_server->links().size());
    text.begin("kyr_refusals_total", "counter", "Connections that were refused.");
    for (auto refusal = m_refusals.cbegin(); refusal != m_refusals.cend(); ++refusal)
        text.sample("kyr_refusals_total", double(refusal.value()), {{"reason", refusal.key()}});
    text.histogram("kyr_handshake_seconds", "Time from the connection of a device to its link.", m_handshakes);
    text.begin("kyr_queue_length", "gauge", "What waits to be sent or done.");
    for (auto queue = m_queues.cbegin(); queue != m_queues.cend(); ++queue)
        text.sample("kyr_queue_length", double(queue.value()()), {{"queue", queue.key()}});
    text.histogram("kyr_database_seconds", "How long a small query to the database takes.", m_database);
    text.begin("kyr_events_total", "counter", "Events that this server has recorded.");
    for (auto event = m_events.cbegin(); event != m_events.cend(); ++event)
        text.sample("kyr_events_total", double(event.value()), {{"kind", event.key()}});
    text.begin("kyr_broker_connected", "gauge", "1 if connected to the broker, 0 if not or if there is no broker.");
    text.sample("kyr_broker_connected", m_broker && m_broker() ? 1 : 0);
    QByteArray begun;
    for (const Counter& counter : qAsConst(m_counters)) {
        if (counter.name != begun)
            text.begin(counter.name, "counter", counter.help.constData());
        begun = counter.name;
        if (counter.reason.isEmpty())
            text.sample(counter.name, double(counter.count()));
        else
            text.sample(counter.name, double(counter.count()), {{"reason", counter.reason}});
    }
    return text.text();
}
