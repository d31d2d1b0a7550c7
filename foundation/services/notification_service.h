#pragma once

#include <foundation/core/export.h>

#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <memory>

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
/// alone, and what it answers to custom notifications comes back under its name. A name has one holder, who asked for
/// it last; what else an extension tells of itself is acknowledged and not kept.
///
/// The service trusts its subscribers: it bounds neither their names nor their sources, and lets each take over the
/// names of others. A transport that trusts less asks extensionHolder(), extensionsOf() and sourcesOf() before it hands
/// a message on, and unregisters the names of who went away.
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
    QSet<QString> getObservedSources() const;
    /// What the subscriber at `address` observes.
    QSet<QString> sourcesOf(const QString& address) const;
    /// The source names in the first parameter of "registerObserver": those of a list that are not empty, or one text.
    static QSet<QString> sourceNames(const QVariant& parameter);

    /// The address that holds the extension `name`; a null text when nobody does.
    QString extensionHolder(const QString& name) const;
    /// The names that the subscriber at `address` holds, in the order of their registration.
    QStringList extensionsOf(const QString& address) const;

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
    struct Private;
    std::unique_ptr<Private> d;
};
