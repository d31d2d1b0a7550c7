#include <foundation/services/notification_service.h>

#include <foundation/core/environment_variable.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/services/notification_filter.h>

#include <QtCore/QMetaMethod>
#include <QtCore/QPointer>

#include <algorithm>
#include <limits>

namespace {

const QString& extensionSource()
{
    static const QString source = QStringLiteral("ExtensionManager");
    return source;
}

// A list of names or one name. Whatever else was sent names nothing.
QSet<QString> sourceNames(const QVariant& parameter)
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

} // namespace

CNotificationService::CNotificationService(QObject* parent)
    : QObject(parent)
{
    const int seconds = CEnvironmentVariable::valueTrimmed("QUINTOR_WS_HEARTBEAT").toInt();
    if (seconds > 0 && seconds <= std::numeric_limits<int>::max() / 1000)
        m_heartbeatTimerId = startTimer(seconds * 1000, Qt::CoarseTimer);
}

CNotificationService::~CNotificationService()
{
    if (m_heartbeatTimerId != 0)
        killTimer(m_heartbeatTimerId);
}

void CNotificationService::registerObserver(const QString& address, const QSet<QString>& sources, qint64 authId)
{
    auto observer = m_registry.find(address);
    if (observer == m_registry.end())
        observer = m_registry.insert(address, Observer{{}, authId});
    bool grown = false;
    for (const QString& source : sources) {
        if (observer->sources.contains(source))
            continue;
        observer->sources.insert(source);
        Targets& targets = m_observersOfSource[source];
        targets.places.insert(address, static_cast<int>(targets.list.size()));
        targets.list.append({address, observer->authId});
        if (!m_observedSources.contains(source)) {
            m_observedSources.insert(source);
            grown = true;
        }
    }
    static const QMetaMethod signal = QMetaMethod::fromSignal(&CNotificationService::sourcesChanged);
    if (grown && isSignalConnected(signal))
        Q_EMIT sourcesChanged(m_observedSources.values());
}

void CNotificationService::unregisterObserver(const QString& address, const QSet<QString>& sources)
{
    const auto observer = m_registry.find(address);
    if (observer == m_registry.end())
        return;
    ++m_removals;
    if (sources.isEmpty()) {
        const QSet<QString> observed = observer->sources;
        m_registry.erase(observer);
        for (const QString& source : observed)
            stopObserving(address, source);
        return;
    }
    for (const QString& source : sources) {
        if (observer->sources.remove(source))
            stopObserving(address, source);
    }
}

void CNotificationService::stopObserving(const QString& address, const QString& source)
{
    const auto observers = m_observersOfSource.find(source);
    if (observers->list.size() == 1) {
        m_observersOfSource.erase(observers);
        m_observedSources.remove(source);
        return;
    }
    // The last one takes the empty place.
    const int place = observers->places.take(address);
    const Target last = observers->list.takeLast();
    if (last.address == address)
        return;
    observers->list[place] = last;
    observers->places[last.address] = place;
}

bool CNotificationService::observes(const QString& address, const QString& source) const
{
    const auto observer = m_registry.constFind(address);
    return observer != m_registry.constEnd() && observer->sources.contains(source);
}

QVector<CNotificationService::Target> CNotificationService::observersOf(const QString& source) const
{
    const auto observers = m_observersOfSource.constFind(source);
    return observers != m_observersOfSource.constEnd() ? observers->list : QVector<Target>();
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
        m_extensions.erase(std::remove_if(m_extensions.begin(), m_extensions.end(),
                                          [&](const auto& extension) { return extension->name == name; }),
                           m_extensions.end());
        if (method == QLatin1String("registerExtension")) {
            registerExtension(sender, name, received, authId);
            removable = false;
        } else {
            unregisterObserver(sender, {extensionSource()});
            Q_EMIT extensionRegistrationChanged(name, false);
        }
    } else if (method == QLatin1String("customNotificationResponse")) {
        const auto extension = std::find_if(m_extensions.cbegin(), m_extensions.cend(),
                                            [&](const auto& candidate) { return candidate->address == sender; });
        if (extension != m_extensions.cend() && !(*extension)->name.isEmpty()) {
            const QString name = (*extension)->name;
            Q_EMIT customNotificationResponseReceived(name, first.toString(), received.value(1));
        }
        return;
    } else {
        return;
    }
    // A subscriber that a receiver threw out while it was being registered is sent nothing any more.
    if (self && (removable || m_registry.contains(sender)))
        Q_EMIT messageTransmissionRequested(sender, QStringLiteral("acknowledge"), acknowledgement);
}

void CNotificationService::registerExtension(const QString& address, const QString& name, const QVariantList& params,
                                             qint64 authId)
{
    const QPointer<CNotificationService> self(this);
    registerObserver(address, {extensionSource()}, authId);
    if (!self || !m_registry.contains(address))
        return;
    m_extensions.push_back(
        std::make_unique<Extension>(Extension{name, params.value(1).toString(), QDateTime::currentDateTimeUtc(),
                                              address, params.value(2).value<QVariantList>()}));
    Q_EMIT extensionRegistrationChanged(name, true);
}

void CNotificationService::disconnectSubscriber(const QString& address)
{
    unregisterObserver(address, {});
    const auto last = std::find_if(m_extensions.crbegin(), m_extensions.crend(),
                                   [&](const auto& extension) { return extension->address == address; });
    if (last == m_extensions.crend())
        return;
    const QString name = (*last)->name;
    m_extensions.erase(std::next(last).base());
    Q_EMIT extensionRegistrationChanged(name, false);
}

void CNotificationService::notifyObservers(const QString& source, const QVariantMap& params, const QString& extension)
{
    static const QString method = QStringLiteral("notify");
    if (extension.isEmpty()) {
        notifyEach(method, source, params, observersOf(source));
        return;
    }
    const auto target = std::find_if(m_extensions.cbegin(), m_extensions.cend(),
                                     [&](const auto& candidate) { return candidate->name == extension; });
    if (target == m_extensions.cend() || (*target)->address.isEmpty())
        return;
    const auto observer = m_registry.constFind((*target)->address);
    if (observer != m_registry.constEnd() && observer->sources.contains(source))
        notifyEach(method, source, params, {{observer.key(), observer->authId}});
}

void CNotificationService::notifyObserversWithMethod(const QString& method, const QString& source,
                                                     const QVariantMap& params)
{
    notifyEach(method, source, params, observersOf(source));
}

// `targets` is a snapshot that costs nothing until the index changes. The list of parameters is made once and shared by
// all, except those for whom the filter changed its copy.
void CNotificationService::notifyEach(const QString& method, const QString& source, const QVariantMap& params,
                                      const QVector<Target>& targets)
{
    if (targets.isEmpty())
        return;
    const QString sentMethod = method;
    const QString sentSource = source;
    const QVariantMap sentParams = params;
    const QVariantList shared{sentSource, sentParams};
    const QPointer<CNotificationService> self(this);
    const quint64 removals = m_removals;

    for (auto target = targets.cbegin(); self && target != targets.cend(); ++target) {
        const QString& address = target->address;
        if (m_removals != removals && !observes(address, sentSource))
            continue;
        QVariantList changed;
        if (m_filter != nullptr) {
            const qint64 authId = m_removals == removals ? target->authId : m_registry.value(address).authId;
            const quint64 removalsBefore = m_removals;
            QVariantMap copy = sentParams;
            const bool withheld = m_filter->filterNotification(address, sentMethod, sentSource, authId, &copy);
            if (withheld || !self || (m_removals != removalsBefore && !observes(address, sentSource)))
                continue;
            if (!copy.isSharedWith(sentParams))
                changed = {sentSource, copy};
        }
        Q_EMIT messageTransmissionRequested(address, sentMethod, changed.isEmpty() ? shared : changed);
    }
}

void CNotificationService::sendToAll(const QString& method, const QVariantList& params)
{
    const auto subscribers = m_registry;
    const QPointer<CNotificationService> self(this);
    const quint64 removals = m_removals;
    for (auto subscriber = subscribers.cbegin(); self && subscriber != subscribers.cend(); ++subscriber) {
        if (m_removals == removals || m_registry.contains(subscriber.key()))
            Q_EMIT messageTransmissionRequested(subscriber.key(), method, params);
    }
}

void CNotificationService::sendHeartbeatObservers()
{
    sendToAll(QStringLiteral("heartbeat"), {});
}

void CNotificationService::sendAboutToQuitObservers()
{
    sendToAll(QStringLiteral("aboutToQuit"), {true});
}

void CNotificationService::installNotificationFilter(INotificationFilter* filterObj)
{
    m_filter = filterObj;
}

void CNotificationService::timerEvent(QTimerEvent*)
{
    sendHeartbeatObservers();
}
