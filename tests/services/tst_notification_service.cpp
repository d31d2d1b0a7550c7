#include <foundation/services/notification_filter.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QMap>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <functional>
#include <random>

namespace {

const QString extensionSource = QStringLiteral("ExtensionManager");

// Runs a function; what it lets through is its result turned round.
class Filter : public INotificationFilter
{
public:
    using Function = std::function<bool(const QString& address, qint64 authId, QVariantMap* params)>;
    explicit Filter(Function withholds)
        : m_withholds(std::move(withholds))
    {
    }
    bool filterNotification(const QString& address, const QString&, const QString&, qint64 authId,
                            QVariantMap* params) override
    {
        return m_withholds(address, authId, params);
    }

private:
    Function m_withholds;
};

// The rules in their plainest form: no index, everything is looked for.
struct Model
{
    struct Observer
    {
        QSet<QString> sources;
        qint64 authId;
    };
    QMap<QString, Observer> registry;
    QVector<QPair<QString, QString>> extensions; // name and address
    bool filtered = false;
    QStringList events;

    static bool withholds(qint64 authId) { return authId % 3 == 0; }
    void event(const QVariantList& values)
    {
        QString text;
        QDebug(&text) << values;
        events.append(text);
    }
    QSet<QString> sources() const
    {
        QSet<QString> all;
        for (const Observer& observer : registry)
            all.unite(observer.sources);
        return all;
    }
    void add(const QString& address, const QSet<QString>& sources, qint64 authId)
    {
        const QSet<QString> before = this->sources();
        if (!registry.contains(address))
            registry.insert(address, {{}, authId});
        registry[address].sources.unite(sources);
        QStringList after = this->sources().values();
        after.sort();
        if (after.size() != before.size())
            event({QStringLiteral("sources"), after});
    }
    void remove(const QString& address, const QSet<QString>& sources)
    {
        if (sources.isEmpty())
            registry.remove(address);
        else if (registry.contains(address))
            registry[address].sources.subtract(sources);
    }
    void receive(const QString& address, const QString& method, const QVariantList& params, qint64 authId)
    {
        if (params.isEmpty())
            return;
        QSet<QString> names;
        if (params[0].userType() == QMetaType::QVariantList || params[0].userType() == QMetaType::QStringList) {
            for (const QString& name : params[0].toStringList())
                if (!name.isEmpty())
                    names.insert(name);
        } else if (params[0].userType() == QMetaType::QString) {
            names.insert(params[0].toString());
        }
        const QString name = params[0].toString();
        if (method.endsWith(QLatin1String("Extension"))) {
            extensions.erase(std::remove_if(extensions.begin(), extensions.end(),
                                            [&](const auto& extension) { return extension.first == name; }),
                             extensions.end());
        }
        if (method == QLatin1String("registerObserver")) {
            add(address, names, authId);
        } else if (method == QLatin1String("unregisterObserver")) {
            remove(address, names);
        } else if (method == QLatin1String("registerExtension")) {
            add(address, {extensionSource}, authId);
            extensions.append({name, address});
            event({QStringLiteral("extension"), name, true});
        } else if (method == QLatin1String("unregisterExtension")) {
            remove(address, {extensionSource});
            event({QStringLiteral("extension"), name, false});
        } else {
            if (method == QLatin1String("customNotificationResponse")) {
                for (const auto& extension : qAsConst(extensions)) {
                    if (extension.second != address)
                        continue;
                    if (!extension.first.isEmpty())
                        event({QStringLiteral("response"), extension.first, name, params.value(1)});
                    break;
                }
            }
            return;
        }
        event({address, QStringLiteral("acknowledge"), QVariantList{method, params}});
    }
    void disconnect(const QString& address)
    {
        registry.remove(address);
        for (int i = extensions.size() - 1; i >= 0; --i) {
            if (extensions[i].second == address) {
                event({QStringLiteral("extension"), extensions[i].first, false});
                extensions.remove(i);
                return;
            }
        }
    }
    void publish(const QString& method, const QString& source, const QVariantMap& params, const QString& extension)
    {
        QString target;
        for (int i = extensions.size() - 1; i >= 0; --i)
            if (!extension.isEmpty() && extensions[i].first == extension)
                target = extensions[i].second;
        if (!extension.isEmpty() && target.isEmpty())
            return;
        for (auto observer = registry.cbegin(); observer != registry.cend(); ++observer) {
            if (!observer->sources.contains(source) || (!target.isEmpty() && observer.key() != target))
                continue;
            QVariantMap copy = params;
            if (filtered && withholds(observer->authId))
                continue;
            if (filtered && observer->authId % 2)
                copy.insert(QStringLiteral("for"), observer.key());
            event({observer.key(), method, QVariantList{source, copy}});
        }
    }
    void all(const QString& method, const QVariantList& params)
    {
        for (auto observer = registry.cbegin(); observer != registry.cend(); ++observer)
            event({observer.key(), method, params});
    }
};

QVariantMap published(int id)
{
    return {{QStringLiteral("publication"), id}};
}

} // namespace

class TestNotificationService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void behavesLikeTheModel();
    void survivesReentrancy();
    void survivesItsDeletion_data();
    void survivesItsDeletion();
    void removalInMidHeartbeat();
    void sharesWhatItSends();
    void invitesNoForgottenExtension();
    void heartbeat_data();
    void heartbeat();
};

void TestNotificationService::behavesLikeTheModel()
{
    CNotificationService service;
    Model model;
    Model seen; // only its list of events is used
    Filter filter([](const QString& address, qint64 authId, QVariantMap* params) {
        if (authId % 2)
            params->insert(QStringLiteral("for"), address);
        return Model::withholds(authId);
    });
    connect(&service, &CNotificationService::messageTransmissionRequested, this,
            [&](const QString& address, const QString& method, const QVariantList& params) {
                seen.event({address, method, params});
            });
    connect(&service, &CNotificationService::sourcesChanged, this, [&](QStringList sources) {
        sources.sort();
        seen.event({QStringLiteral("sources"), sources});
    });
    connect(&service, &CNotificationService::extensionRegistrationChanged, this,
            [&](const QString& name, bool registered) {
                seen.event({QStringLiteral("extension"), name, registered});
            });
    connect(&service, &CNotificationService::customNotificationResponseReceived, this,
            [&](const QString& name, const QString& id, const QVariant& response) {
                seen.event({QStringLiteral("response"), name, id, response});
            });

    std::mt19937 random(20);
    const auto pick = [&](int count) { return int(random() % unsigned(count)); };
    const QStringList methods{QStringLiteral("registerObserver"),           QStringLiteral("registerObserver"),
                              QStringLiteral("unregisterObserver"),         QStringLiteral("registerExtension"),
                              QStringLiteral("registerExtension"),          QStringLiteral("unregisterExtension"),
                              QStringLiteral("customNotificationResponse"), QStringLiteral("RegisterObserver")};
    // Names of extensions are names of sources too, so that one list serves for both.
    const QStringList names{QStringLiteral("Users"), QStringLiteral("users"), QStringLiteral("Doors"), QString(),
                            extensionSource};
    for (int step = 0; step < 20000; ++step) {
        const QString address = pick(30) ? QStringLiteral("client%1").arg(pick(6)) : QString();
        const QString name = names[pick(names.size())];
        const QVariantMap params = published(step);
        const int action = pick(12);
        const bool inAnyOrder = action >= 1 && action <= 5;
        switch (action) {
        default: {
            QVariantList message;
            switch (pick(8)) {
            case 0:
                message = {QStringList{name, names[pick(names.size())]}};
                break;
            case 1:
                message = {QVariant(QVariantList{name, 7, QVariantList{}})};
                break;
            case 2:
                message = {42, QStringLiteral("answer")};
                break;
            case 3:
                message = {QVariant()};
                break;
            case 4:
                break;
            case 5:
                message = {QVariantMap{{name, name}}};
                break;
            default:
                message = {name, name, QStringList{name}};
                break;
            }
            const QString method = methods[pick(methods.size())];
            const int authId = pick(9);
            service.receiveMessage(address, method, message, authId);
            model.receive(address, method, message, authId);
            break;
        }
        case 0:
            service.disconnectSubscriber(address);
            model.disconnect(address);
            break;
        case 1:
        case 2:
            service.notifyObservers(name, params);
            model.publish(QStringLiteral("notify"), name, params, QString());
            break;
        case 3: {
            const QString extension = names[pick(names.size())];
            service.notifyObservers(name, params, extension);
            model.publish(QStringLiteral("notify"), name, params, extension);
            break;
        }
        case 4:
            service.notifyObserversWithMethod(QStringLiteral("alarm"), name, params);
            model.publish(QStringLiteral("alarm"), name, params, QString());
            break;
        case 5:
            if (pick(2)) {
                service.sendHeartbeatObservers();
                model.all(QStringLiteral("heartbeat"), {});
            } else {
                service.sendAboutToQuitObservers();
                model.all(QStringLiteral("aboutToQuit"), {true});
            }
            break;
        case 6:
            model.filtered = pick(2);
            service.installNotificationFilter(model.filtered ? &filter : nullptr);
            break;
        }
        // Only within one walk over the subscribers is the order open.
        if (inAnyOrder) {
            seen.events.sort();
            model.events.sort();
        }
        QCOMPARE(seen.events, model.events);
        QCOMPARE(service.getObservedSources(), model.sources());
        seen.events.clear();
        model.events.clear();
    }
}

// Receivers and the filter do at random what they may. Each publication has a number; whoever observed the source when
// it was published is served once, or has been removed since; whoever is served observes the source at that moment.
void TestNotificationService::survivesReentrancy()
{
    std::mt19937 random(7);
    const auto pick = [&](int count) { return int(random() % unsigned(count)); };
    const QStringList sources{QStringLiteral("Users"), QStringLiteral("Doors"), QStringLiteral("Media")};
    CNotificationService service;
    QHash<QString, QSet<QString>> observers;   // by source, as it is now
    QHash<int, QSet<QString>> mustSee, served; // by publication
    int publications = 0;
    int depth = 0;

    const std::function<void()> act = [&] {
        const QString address = QString::number(pick(25));
        const QString source = sources[pick(3)];
        switch (pick(8)) {
        case 0:
        case 1:
        case 2:
            service.registerObserver(address, {source}, 1);
            observers[source].insert(address);
            break;
        case 3:
            service.unregisterObserver(address, {source});
            observers[source].remove(address);
            for (QSet<QString>& addresses : mustSee)
                addresses.remove(address);
            break;
        case 4:
            service.disconnectSubscriber(address);
            for (QSet<QString>& addresses : observers)
                addresses.remove(address);
            for (QSet<QString>& addresses : mustSee)
                addresses.remove(address);
            break;
        default: {
            if (depth > 3)
                return;
            ++depth;
            const int id = publications++;
            mustSee[id] = observers[source];
            service.notifyObservers(source, published(id));
            QVERIFY2(served.value(id).contains(mustSee.value(id)), "somebody was skipped");
            mustSee.remove(id);
            --depth;
            break;
        }
        }
    };
    Filter filter([&](const QString& address, qint64, QVariantMap* params) {
        if (pick(6) == 0)
            act();
        if (pick(5) != 0)
            return false;
        mustSee[params->begin()->toInt()].remove(address);
        return true;
    });
    connect(&service, &CNotificationService::messageTransmissionRequested, this,
            [&](const QString& address, const QString&, const QVariantList& params) {
                const int id = params[1].toMap().value(QStringLiteral("publication")).toInt();
                QVERIFY2(observers[params[0].toString()].contains(address), "sent after the removal");
                QVERIFY2(!served[id].contains(address), "served twice");
                served[id].insert(address);
                if (pick(4) == 0)
                    act();
            });
    for (int step = 0; step < 5000 && !QTest::currentTestFailed(); ++step) {
        if (step % 50 == 0)
            service.installNotificationFilter(pick(2) ? &filter : nullptr);
        act();
    }
    QVERIFY(publications > 1000);
}

void TestNotificationService::survivesItsDeletion_data()
{
    QTest::addColumn<QString>("where");
    for (const char* where : {"notification", "filter", "heartbeat", "sources", "extension", "response"})
        QTest::newRow(where) << QString::fromLatin1(where);
}

void TestNotificationService::survivesItsDeletion()
{
    QFETCH(QString, where);
    auto* service = new CNotificationService;
    QPointer<CNotificationService> alive(service);
    int calls = 0;
    const auto end = [&](auto&&...) {
        ++calls;
        delete service;
    };
    Filter filter([&](auto&&...) {
        end();
        return false;
    });
    for (int i = 0; i < 3; ++i) {
        service->receiveMessage(QString::number(i), QStringLiteral("registerExtension"), {QString::number(i)}, 0);
        service->registerObserver(QString::number(i), {QStringLiteral("Doors")}, 0);
    }
    if (where == QLatin1String("filter"))
        service->installNotificationFilter(&filter);
    else if (where == QLatin1String("sources"))
        connect(service, &CNotificationService::sourcesChanged, this, end);
    else if (where == QLatin1String("extension"))
        connect(service, &CNotificationService::extensionRegistrationChanged, this, end);
    else if (where == QLatin1String("response"))
        connect(service, &CNotificationService::customNotificationResponseReceived, this, end);
    else
        connect(service, &CNotificationService::messageTransmissionRequested, this, end);

    if (where == QLatin1String("heartbeat"))
        service->sendHeartbeatObservers();
    else if (where == QLatin1String("sources"))
        service->receiveMessage(QStringLiteral("1"), QStringLiteral("registerObserver"), {QStringLiteral("new")}, 0);
    else if (where == QLatin1String("extension"))
        service->receiveMessage(QStringLiteral("1"), QStringLiteral("registerExtension"), {QStringLiteral("new")}, 0);
    else if (where == QLatin1String("response"))
        service->receiveMessage(QStringLiteral("1"), QStringLiteral("customNotificationResponse"), {1}, 0);
    else
        service->notifyObservers(QStringLiteral("Doors"), {});
    QVERIFY(!alive);
    QCOMPARE(calls, 1);
}

// The first one to be served throws all others out.
void TestNotificationService::removalInMidHeartbeat()
{
    CNotificationService service;
    connect(&service, &CNotificationService::messageTransmissionRequested, this, [&](const QString& address) {
        for (int i = 0; i < 10; ++i)
            if (QString::number(i) != address)
                service.disconnectSubscriber(QString::number(i));
    });
    for (int i = 0; i < 10; ++i)
        service.registerObserver(QString::number(i), {}, i);
    QSignalSpy sent(&service, &CNotificationService::messageTransmissionRequested);
    service.sendHeartbeatObservers();
    QCOMPARE(sent.size(), 1);
}

void TestNotificationService::sharesWhatItSends()
{
    const QString doors = QStringLiteral("Doors");
    CNotificationService service;
    for (int i = 0; i < 3; ++i)
        service.registerObserver(QString::number(i), {doors}, i);
    Filter filter([](const QString&, qint64 authId, QVariantMap* params) {
        if (authId == 1)
            params->clear();
        return false;
    });
    const QVariantMap params = published(1);
    int shared = 0;
    connect(&service, &CNotificationService::messageTransmissionRequested, this,
            [&](const QString&, const QString&, const QVariantList& message) {
                shared += message[1].toMap().isSharedWith(params);
            });
    service.notifyObservers(doors, params);
    QCOMPARE(shared, 3);
    service.installNotificationFilter(&filter);
    service.notifyObserversWithMethod(QStringLiteral("alarm"), doors, params);
    QCOMPARE(shared, 5);
}

// A receiver of sourcesChanged may throw out whoever is just being registered: no extension stays behind without it.
void TestNotificationService::invitesNoForgottenExtension()
{
    CNotificationService service;
    connect(&service, &CNotificationService::sourcesChanged, this,
            [&] { service.disconnectSubscriber(QStringLiteral("guest")); });
    QSignalSpy registered(&service, &CNotificationService::extensionRegistrationChanged);
    QSignalSpy sent(&service, &CNotificationService::messageTransmissionRequested);
    service.receiveMessage(QStringLiteral("guest"), QStringLiteral("registerExtension"), {QStringLiteral("door bell")},
                           1);
    QCOMPARE(registered.size(), 0);
    QCOMPARE(sent.size(), 0);
}

void TestNotificationService::heartbeat_data()
{
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<int>("interval");
    QTest::newRow("none") << QByteArray() << 0;
    QTest::newRow("blanks and quotes") << QByteArray(" '15' ") << 15000;
    QTest::newRow("zero") << QByteArray("0") << 0;
    QTest::newRow("negative") << QByteArray("-3") << 0;
    QTest::newRow("no number") << QByteArray("abc") << 0;
    QTest::newRow("longest") << QByteArray("2147483") << 2147483000;
    QTest::newRow("too long for a timer") << QByteArray("2147484") << 0;
}

void TestNotificationService::heartbeat()
{
    QFETCH(QByteArray, setting);
    QFETCH(int, interval);
    qputenv("QUINTOR_WS_HEARTBEAT", setting);
    CNotificationService service;
    qunsetenv("QUINTOR_WS_HEARTBEAT");
    const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(&service);
    QCOMPARE(timers.size(), interval ? 1 : 0);
    if (!interval)
        return;
    QCOMPARE(timers[0].interval, interval);
    QVERIFY(timers[0].timerType != Qt::PreciseTimer);
    service.registerObserver(QStringLiteral("client"), {}, 0);
    QSignalSpy sent(&service, &CNotificationService::messageTransmissionRequested);
    QTimerEvent due(timers[0].timerId);
    QCoreApplication::sendEvent(&service, &due);
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent[0][1].toString(), QStringLiteral("heartbeat"));
    QCOMPARE(sent[0][2].toList().size(), 0);
}

QTEST_GUILESS_MAIN(TestNotificationService)
#include "tst_notification_service.moc"
