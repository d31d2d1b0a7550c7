#pragma once

#include <foundation/core/export.h>

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <memory>
#include <vector>

class INotificationFilter;

/// The hub through which components watch one another: subscribers, each known by an address of the transport's
/// choosing, name the sources they observe; what is published for a source goes to each of them.
///
///     CNotificationService service(this);
///     connect(&service, &CNotificationService::messageTransmissionRequested, transport, &Transport::send);
///     connect(transport, &Transport::received, &service, &CNotificationService::receiveMessage);
///     service.notifyObservers(QStringLiteral("Doors"), {{QStringLiteral("event"), QStringLiteral("changed")}});
///
/// It touches no socket and encodes nothing. All of it runs in the thread of the object.
///
/// Whatever is connected to the signals, and the filter, may call back into the service or delete it. A notification
/// goes to those who observed the source when it was published, in no particular order, to each of them once, unless
/// they have been removed before their turn; who joins during the delivery gets the next one. Publishing costs time by
/// the observers of the source, not by the subscribers there are.
///
/// A subscriber that announces itself by a name is an extension: it observes "ExtensionManager", can be addressed
/// alone, and what it answers to custom notifications comes back under its name.
///
/// With QUINTOR_WS_HEARTBEAT set to a number of seconds above 0 (at most 2147483), each subscriber is sent a
/// "heartbeat" at that interval. There are no errors: messages that make no sense are passed over.
class KYR_FOUNDATION_EXPORT CNotificationService : public QObject
{
    Q_OBJECT

public:
    explicit CNotificationService(QObject* parent = nullptr);
    ~CNotificationService() override;

    /// Adds sources (exact names) to those that `address` observes. The first call, also one without any source, makes
    /// it a subscriber, known to filters as `authId` from then on.
    void registerObserver(const QString& address, const QSet<QString>& sources, qint64 authId);
    /// Takes sources away; a subscriber without any stays one. Without `sources` the subscriber itself is removed.
    /// Growth of the union of sources is reported by sourcesChanged(), its shrinking is not.
    void unregisterObserver(const QString& address, const QSet<QString>& sources);

    /// The union of what all subscribers observe.
    QSet<QString> getObservedSources() const { return m_observedSources; }

    /// notifyObservers() to all observers under another method name than "notify".
    void notifyObserversWithMethod(const QString& method, const QString& source, const QVariantMap& params);

public Q_SLOTS:
    /// Takes a message of the subscriber at `address`: "registerObserver", "unregisterObserver", "registerExtension",
    /// "unregisterExtension" (all four are acknowledged) or "customNotificationResponse". Other methods and messages
    /// without parameters are passed over.
    void receiveMessage(const QString& address, const QString& method, const QVariantList& params, qint64 authId);

    /// The subscriber at `address` went away. Of its extensions the one registered last goes with it, others stay.
    void disconnectSubscriber(const QString& address);

    /// Sends "notify" to the observers of `source`; with the name of an extension only to the subscriber that
    /// registered it first, if that one observes `source`.
    void notifyObservers(const QString& source, const QVariantMap& params, const QString& extension = QString());

    /// Tells every subscriber, whatever it observes, that the host is about to quit. For the host to call.
    void sendAboutToQuitObservers();
    /// Sends every subscriber, whatever it observes, one heartbeat.
    void sendHeartbeatObservers();

    /// Puts a filter, not owned, in front of all notifications from now on; nullptr for none.
    void installNotificationFilter(INotificationFilter* filterObj);

Q_SIGNALS:
    /// A message to be sent to the subscriber at `address`.
    void messageTransmissionRequested(const QString& address, const QString& method, const QVariantList& params);
    /// Something is observed that was not before; `sources` is all that is observed.
    void sourcesChanged(const QStringList& sources);
    void extensionRegistrationChanged(const QString& name, bool registered);
    /// The extension `name` answered the custom notification `id`.
    void customNotificationResponseReceived(const QString& name, const QString& id, const QVariant& response);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    struct Observer
    {
        QSet<QString> sources;
        qint64 authId = 0;
    };
    struct Extension
    {
        QString name;
        QString description;
        QDateTime registered;
        QString address;
        QVariantList data;
    };
    struct Target
    {
        QString address;
        qint64 authId = 0;
    };
    // Those who observe one source, one behind the other in memory: a walk over many waits for no cache line.
    struct Targets
    {
        QVector<Target> list;
        QHash<QString, int> places; // in `list`, by address
    };

    bool observes(const QString& address, const QString& source) const;
    QVector<Target> observersOf(const QString& source) const;
    void stopObserving(const QString& address, const QString& source);
    void registerExtension(const QString& address, const QString& name, const QVariantList& params, qint64 authId);
    void notifyEach(const QString& method, const QString& source, const QVariantMap& params,
                    const QVector<Target>& targets);
    void sendToAll(const QString& method, const QVariantList& params);

    QHash<QString, Observer> m_registry;
    std::vector<std::unique_ptr<Extension>> m_extensions;
    INotificationFilter* m_filter = nullptr;
    int m_heartbeatTimerId = 0;

    // The registry turned round, and its keys: both follow from it and are kept in step.
    QHash<QString, Targets> m_observersOfSource;
    QSet<QString> m_observedSources;
    // Counts what was taken away, so that a delivery notices that it has to look.
    quint64 m_removals = 0;
};
