#include <foundation/services/notification_service.h>

#include <foundation/core/environment_variable.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/services/notification_filter.h>

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QMetaMethod>
#include <QtCore/QPointer>
#include <QtCore/QVector>

#include <limits>

namespace {

const QString& extensionSource()
{
    static const QString source = QStringLiteral("ExtensionManager");
    return source;
}

struct Observer
{
    QSet<QString> sources;
    qint64 authId = 0;
};

struct Target
{
    QString address;
    qint64 authId = 0;
};

// Those who observe one source, one behind the other in memory: a walk over many waits for no cache line.
class Targets
{
public:
    const QVector<Target>& list() const { return m_list; }

    void add(const Target& target)
    {
        m_places.insert(target.address, static_cast<int>(m_list.size()));
        m_list.append(target);
    }
    // The last one takes the empty place.
    void remove(const QString& address)
    {
        const int place = m_places.take(address);
        const Target last = m_list.takeLast();
        if (last.address == address)
            return;
        m_list[place] = last;
        m_places[last.address] = place;
    }

private:
    QVector<Target> m_list;
    QHash<QString, int> m_places; // by address
};

// Who holds which extension name. Each name has one holder; a holder's names stand in the order of registration.
class Extensions
{
public:
    QString holder(const QString& name) const { return m_byName.value(name).address; }
    QStringList namesOf(const QString& address) const { return m_byAddress.value(address).values(); }
    QString firstOf(const QString& address) const
    {
        const auto names = m_byAddress.constFind(address);
        return names != m_byAddress.cend() ? names->first() : QString();
    }

    void add(const QString& name, const QString& address)
    {
        remove(name);
        // A null text means that there is no holder.
        const QString holder = address.isNull() ? QLatin1String("") : address;
        m_byName.insert(name, {holder, ++m_registrations});
        m_byAddress[holder].insert(m_registrations, name);
    }
    void remove(const QString& name)
    {
        const auto found = m_byName.constFind(name);
        if (found == m_byName.cend())
            return;
        const auto names = m_byAddress.find(found->address);
        names->remove(found->number);
        if (names->isEmpty())
            m_byAddress.erase(names);
        m_byName.erase(found);
    }
    // The name that the holder registered last; false when it holds none.
    bool takeLastOf(const QString& address, QString* name)
    {
        const auto names = m_byAddress.constFind(address);
        if (names == m_byAddress.cend())
            return false;
        *name = names->last();
        remove(*name);
        return true;
    }

private:
    struct Registration
    {
        QString address;
        quint64 number = 0;
    };

    QHash<QString, Registration> m_byName;
    QHash<QString, QMap<quint64, QString>> m_byAddress;
    quint64 m_registrations = 0;
};

} // namespace

struct CNotificationService::Private
{
    bool observes(const QString& address, const QString& source) const;
    QVector<Target> observersOf(const QString& source) const;
    void stopObserving(const QString& address, const QString& source);
    void notifyEach(CNotificationService& service, const QString& method, const QString& source,
                    const QVariantMap& params, const QVector<Target>& targets);
    void sendToAll(CNotificationService& service, const QString& method, const QVariantList& params);

    QHash<QString, Observer> registry;
    Extensions extensions;
    INotificationFilter* filter = nullptr;
    int heartbeatTimerId = 0;

    // The registry turned round, and its keys: both follow from it and are kept in step.
    QHash<QString, Targets> observersOfSource;
    QSet<QString> observedSources;
    // Counts what was taken away, so that a delivery notices that it has to look.
    quint64 removals = 0;
};

bool CNotificationService::Private::observes(const QString& address, const QString& source) const
{
    const auto observer = registry.constFind(address);
    return observer != registry.constEnd() && observer->sources.contains(source);
}

QVector<Target> CNotificationService::Private::observersOf(const QString& source) const
{
    const auto observers = observersOfSource.constFind(source);
    return observers != observersOfSource.constEnd() ? observers->list() : QVector<Target>();
}

void CNotificationService::Private::stopObserving(const QString& address, const QString& source)
{
    const auto observers = observersOfSource.find(source);
    observers->remove(address);
    if (observers->list().isEmpty()) {
        observersOfSource.erase(observers);
        observedSources.remove(source);
    }
}

CNotificationService::CNotificationService(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>())
{
    const int seconds = CEnvironmentVariable::valueTrimmed("QUINTOR_WS_HEARTBEAT").toInt();
    if (seconds > 0 && seconds <= std::numeric_limits<int>::max() / 1000)
        d->heartbeatTimerId = startTimer(seconds * 1000, Qt::CoarseTimer);
}

CNotificationService::~CNotificationService()
{
    if (d->heartbeatTimerId != 0)
        killTimer(d->heartbeatTimerId);
}

QSet<QString> CNotificationService::getObservedSources() const
{
    return d->observedSources;
}

QSet<QString> CNotificationService::sourcesOf(const QString& address) const
{
    return d->registry.value(address).sources;
}

QSet<QString> CNotificationService::sourceNames(const QVariant& parameter)
{
    if (parameter.userType() == QMetaType::QString)
        return {parameter.toString()};
    QSet<QString> names;
    if (QtCompat::isList(parameter)) {
        const auto elements = parameter.value<QVariantList>();
        for (const QVariant& element : elements) {
            const QString name = element.toString();
            if (!name.isEmpty())
                names.insert(name);
        }
    }
    return names;
}

QString CNotificationService::extensionHolder(const QString& name) const
{
    return d->extensions.holder(name);
}

QStringList CNotificationService::extensionsOf(const QString& address) const
{
    return d->extensions.namesOf(address);
}

void CNotificationService::registerObserver(const QString& address, const QSet<QString>& sources, qint64 authId)
{
    auto observer = d->registry.find(address);
    if (observer == d->registry.end())
        observer = d->registry.insert(address, Observer{{}, authId});
    bool grown = false;
    for (const QString& source : sources) {
        if (observer->sources.contains(source))
            continue;
        observer->sources.insert(source);
        d->observersOfSource[source].add({address, observer->authId});
        if (!d->observedSources.contains(source)) {
            d->observedSources.insert(source);
            grown = true;
        }
    }
    static const QMetaMethod signal = QMetaMethod::fromSignal(&CNotificationService::sourcesChanged);
    if (grown && isSignalConnected(signal))
        Q_EMIT sourcesChanged(d->observedSources.values());
}

void CNotificationService::unregisterObserver(const QString& address, const QSet<QString>& sources)
{
    const auto observer = d->registry.find(address);
    if (observer == d->registry.end())
        return;
    ++d->removals;
    if (sources.isEmpty()) {
        const QSet<QString> observed = observer->sources;
        d->registry.erase(observer);
        for (const QString& source : observed)
            d->stopObserving(address, source);
        return;
    }
    for (const QString& source : sources) {
        if (observer->sources.remove(source))
            d->stopObserving(address, source);
    }
}

void CNotificationService::receiveMessage(const QString& address, const QString& method, const QVariantList& params,
                                          qint64 authId)
{
    if (params.isEmpty())
        return;
    // What the caller passed by reference may be gone once a receiver of a signal has dropped the subscriber.
    const QString sender = address;
    const QVariantList received = params;
    const QVariantList acknowledgement{method, received};
    const QVariant& first = received.first();
    const QPointer<CNotificationService> self(this);
    bool removable = true;

    if (method == QLatin1String("registerObserver")) {
        registerObserver(sender, sourceNames(first), authId);
        removable = false;
    } else if (method == QLatin1String("unregisterObserver")) {
        unregisterObserver(sender, sourceNames(first));
    } else if (method == QLatin1String("registerExtension") || method == QLatin1String("unregisterExtension")) {
        const QString name = first.toString();
        d->extensions.remove(name);
        if (method == QLatin1String("registerExtension")) {
            registerObserver(sender, {extensionSource()}, authId);
            removable = false;
            if (self && d->registry.contains(sender)) {
                d->extensions.add(name, sender);
                Q_EMIT extensionRegistrationChanged(name, true);
            }
        } else {
            unregisterObserver(sender, {extensionSource()});
            Q_EMIT extensionRegistrationChanged(name, false);
        }
    } else if (method == QLatin1String("customNotificationResponse")) {
        const QString name = d->extensions.firstOf(sender);
        if (!name.isEmpty())
            Q_EMIT customNotificationResponseReceived(name, first.toString(), received.value(1));
        return;
    } else {
        return;
    }
    // A subscriber that a receiver threw out while it was being registered is sent nothing any more.
    if (self && (removable || d->registry.contains(sender)))
        Q_EMIT messageTransmissionRequested(sender, QStringLiteral("acknowledge"), acknowledgement);
}

void CNotificationService::disconnectSubscriber(const QString& address)
{
    const QString sender = address;
    unregisterObserver(sender, {});
    QString name;
    if (d->extensions.takeLastOf(sender, &name))
        Q_EMIT extensionRegistrationChanged(name, false);
}

void CNotificationService::notifyObservers(const QString& source, const QVariantMap& params, const QString& extension)
{
    static const QString method = QStringLiteral("notify");
    if (extension.isEmpty()) {
        d->notifyEach(*this, method, source, params, d->observersOf(source));
        return;
    }
    const QString holder = d->extensions.holder(extension);
    const auto observer = d->registry.constFind(holder);
    if (!holder.isEmpty() && observer != d->registry.constEnd() && observer->sources.contains(source))
        d->notifyEach(*this, method, source, params, {{observer.key(), observer->authId}});
}

void CNotificationService::notifyObserversWithMethod(const QString& method, const QString& source,
                                                     const QVariantMap& params)
{
    d->notifyEach(*this, method, source, params, d->observersOf(source));
}

// `targets` is a snapshot that costs nothing until the index changes. The list of parameters is made once and shared by
// all, except those for whom the filter changed its copy.
void CNotificationService::Private::notifyEach(CNotificationService& service, const QString& method,
                                               const QString& source, const QVariantMap& params,
                                               const QVector<Target>& targets)
{
    if (targets.isEmpty())
        return;
    const QString sentMethod = method;
    const QString sentSource = source;
    const QVariantMap sentParams = params;
    const QVariantList shared{sentSource, sentParams};
    const QPointer<CNotificationService> self(&service);
    const quint64 removalsAtStart = removals;

    for (auto target = targets.cbegin(); self && target != targets.cend(); ++target) {
        const QString& address = target->address;
        if (removals != removalsAtStart && !observes(address, sentSource))
            continue;
        QVariantList changed;
        if (filter != nullptr) {
            const qint64 authId = removals == removalsAtStart ? target->authId : registry.value(address).authId;
            const quint64 removalsBefore = removals;
            QVariantMap copy = sentParams;
            const bool withheld = filter->filterNotification(address, sentMethod, sentSource, authId, &copy);
            if (withheld || !self || (removals != removalsBefore && !observes(address, sentSource)))
                continue;
            if (!copy.isSharedWith(sentParams))
                changed = {sentSource, copy};
        }
        Q_EMIT service.messageTransmissionRequested(address, sentMethod, changed.isEmpty() ? shared : changed);
    }
}

void CNotificationService::Private::sendToAll(CNotificationService& service, const QString& method,
                                              const QVariantList& params)
{
    const auto subscribers = registry;
    const QPointer<CNotificationService> self(&service);
    const quint64 removalsAtStart = removals;
    for (auto subscriber = subscribers.cbegin(); self && subscriber != subscribers.cend(); ++subscriber) {
        if (removals == removalsAtStart || registry.contains(subscriber.key()))
            Q_EMIT service.messageTransmissionRequested(subscriber.key(), method, params);
    }
}

void CNotificationService::sendHeartbeatObservers()
{
    d->sendToAll(*this, QStringLiteral("heartbeat"), {});
}

void CNotificationService::sendAboutToQuitObservers()
{
    d->sendToAll(*this, QStringLiteral("aboutToQuit"), {true});
}

void CNotificationService::installNotificationFilter(INotificationFilter* filterObj)
{
    d->filter = filterObj;
}

void CNotificationService::timerEvent(QTimerEvent*)
{
    sendHeartbeatObservers();
}
