#include <foundation/core/qt_compat_p.h>
#include <foundation/services/notification_filter.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <functional>
#include <random>

namespace {

// Runs a function; what it lets through is its result turned round.
struct Filter : INotificationFilter
{
    using Function = std::function<bool(const QString& address, qint64 authId, QVariantMap* params)>;
    explicit Filter(Function function)
        : withholds(std::move(function))
    {
    }
    bool filterNotification(const QString& address, const QString&, const QString&, qint64 authId,
                            QVariantMap* params) override
    {
        return withholds(address, authId, params);
    }
    const Function withholds;
};

// All that a service does, in words; messages that one call sends in any order are sorted by their addresses.
class Journal : public QObject
{
public:
    explicit Journal(const CNotificationService& service)
    {
        connect(&service, &CNotificationService::messageTransmissionRequested, this,
                [this](const QString& address, const QString& method, const QVariantList& params) {
                    m_lines += address + ' ' + method + words(params);
                });
        connect(&service, &CNotificationService::sourcesChanged, this, [this](QStringList sources) {
            sources.sort();
            m_lines += "sources " + sources.join('+');
        });
        connect(&service, &CNotificationService::extensionRegistrationChanged, this,
                [this](const QString& name, bool registered) { m_lines += (registered ? "came " : "went ") + name; });
        connect(&service, &CNotificationService::customNotificationResponseReceived, this,
                [this](const QString& name, const QString& id, const QVariant& response) {
                    m_lines += "response " + name + words({id, response});
                });
    }
    QString take()
    {
        std::sort(m_lines.begin(), m_lines.end());
        return std::exchange(m_lines, {}).join(" | ");
    }

private:
    static QString words(const QVariantList& values, char separator = ' ')
    {
        QString text;
        for (const QVariant& value : values) {
            const QVariantMap map = value.toMap();
            const QString word = map.isEmpty() ? value.toString() : map.firstKey() + '=' + map.first().toString();
            text += separator + (QtCompat::isList(value) ? words(value.toList(), '+').mid(1) : word);
        }
        return text;
    }

    QStringList m_lines;
};

QVariantMap published(int id)
{
    return {{"id", id}};
}

} // namespace

class TestNotificationService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void messages()
    {
        CNotificationService service;
        Journal journal(service);
        const auto receive = [&](const char* address, const QString& method, const QVariantList& params) {
            service.receiveMessage(address, method, params, 1);
            return journal.take();
        };
        // Names come one by one or in a list; case counts, and whatever else was sent names nothing.
        QCOMPARE(receive("a", "registerObserver", {"Doors"}), "a acknowledge registerObserver Doors | sources Doors");
        QCOMPARE(receive("b", "registerObserver", {QVariant(QVariantList{"Doors", "", 7})}),
                 "b acknowledge registerObserver Doors++7 | sources 7+Doors");
        QCOMPARE(receive("c", "registerObserver", {QStringList{"Doors"}, "x"}),
                 "c acknowledge registerObserver Doors+x");
        QCOMPARE(receive("c", "registerObserver", {42}), "c acknowledge registerObserver 42");
        QCOMPARE(receive("d", "registerObserver", {QVariantMap{{"Users", "Users"}}}),
                 "d acknowledge registerObserver Users=Users");
        QCOMPARE(receive("a", "RegisterObserver", {"Users"}) + receive("a", "registerObserver", {}), "");
        QCOMPARE(service.getObservedSources(), (QSet<QString>{"Doors", "7"}));

        service.notifyObservers("Doors", published(1));
        QCOMPARE(journal.take(), "a notify Doors id=1 | b notify Doors id=1 | c notify Doors id=1");
        service.notifyObservers("doors", published(1));
        QCOMPARE(journal.take(), "");
        QCOMPARE(receive("b", "unregisterObserver", {QStringList{"Doors", "Users"}}),
                 "b acknowledge unregisterObserver Doors+Users");
        service.notifyObserversWithMethod("alarm", "Doors", published(2));
        QCOMPARE(journal.take(), "a alarm Doors id=2 | c alarm Doors id=2");
        // Without a name the subscriber itself is removed; one without sources is none the less one.
        QCOMPARE(receive("a", "unregisterObserver", {QStringList()}), "a acknowledge unregisterObserver ");
        service.disconnectSubscriber("c");
        service.disconnectSubscriber("nobody");
        service.sendHeartbeatObservers();
        QCOMPARE(journal.take(), "b heartbeat | d heartbeat");
        service.sendAboutToQuitObservers();
        QCOMPARE(journal.take(), "b aboutToQuit true | d aboutToQuit true");
        QCOMPARE(service.getObservedSources(), QSet<QString>{"7"});
    }

    void extensions()
    {
        CNotificationService service;
        Journal journal(service);
        const auto receive = [&](const char* address, const char* method, const QVariantList& params) {
            service.receiveMessage(address, method, params, 1);
            return journal.take();
        };
        const auto sent = [&](const char* source, const char* extension) {
            service.notifyObservers(source, published(1), extension);
            return journal.take();
        };
        QCOMPARE(receive("a", "registerExtension", {"bell", "rings", QVariantList{}}),
                 "a acknowledge registerExtension bell+rings+ | came bell | sources ExtensionManager");
        QCOMPARE(sent("ExtensionManager", "bell"), "a notify ExtensionManager id=1");
        QCOMPARE(sent("Doors", "bell") + sent("ExtensionManager", "lamp"), "");
        QCOMPARE(receive("a", "customNotificationResponse", {"7", "ring"}), "response bell 7 ring");
        // The name goes to who asked for it last.
        QCOMPARE(receive("b", "registerExtension", {"bell"}), "b acknowledge registerExtension bell | came bell");
        QCOMPARE(sent("ExtensionManager", "bell"), "b notify ExtensionManager id=1");
        QCOMPARE(receive("a", "customNotificationResponse", {"7", "ring"}), "");
        // Of two, the one registered last leaves with the subscriber, and the other cannot be reached.
        receive("b", "registerExtension", {"lamp"});
        QCOMPARE(receive("b", "customNotificationResponse", {"8"}), "response bell 8 ");
        service.disconnectSubscriber("b");
        QCOMPARE(journal.take(), "went lamp");
        QCOMPARE(sent("ExtensionManager", "bell") + receive("b", "registerObserver", {}), "");
        QCOMPARE(receive("c", "unregisterExtension", {"bell"}), "c acknowledge unregisterExtension bell | went bell");
        QCOMPARE(receive("b", "customNotificationResponse", {"9"}), "");
        // An extension without a name, and one without an address.
        receive("d", "registerExtension", {""});
        receive("d", "registerExtension", {"horn"});
        QCOMPARE(receive("d", "customNotificationResponse", {"9"}), "");
        receive("", "registerExtension", {"ghost"});
        QCOMPARE(sent("ExtensionManager", "ghost"), "");
        QCOMPARE(receive("d", "unregisterExtension", {"horn"}), "d acknowledge unregisterExtension horn | went horn");
        QCOMPARE(sent("ExtensionManager", ""), " notify ExtensionManager id=1 | a notify ExtensionManager id=1");
    }

    void filters()
    {
        CNotificationService service;
        Journal journal(service);
        Filter filter([](const QString&, qint64 authId, QVariantMap* params) {
            if (authId == 1)
                params->insert("for", 1);
            return authId == 2;
        });
        const QVariantMap params = published(1);
        int shared = 0;
        connect(&service, &CNotificationService::messageTransmissionRequested, this,
                [&](const QString&, const QString&, const QVariantList& message) {
                    shared += message.value(1).toMap().isSharedWith(params);
                });
        for (const int authId : {0, 1, 2, 3})
            service.registerObserver(QString::number(authId), {"Doors"}, authId);
        service.registerObserver("3", {"Doors", "Users"}, 2); // stays who it was
        journal.take();
        service.installNotificationFilter(&filter);
        service.notifyObservers("Doors", params);
        QCOMPARE(journal.take(), "0 notify Doors id=1 | 1 notify Doors for=1 | 3 notify Doors id=1");
        QCOMPARE(shared, 2); // what nobody changed is not copied
        service.notifyObservers("Users", published(2));
        QCOMPARE(journal.take(), "3 notify Users id=2");
        service.sendHeartbeatObservers();
        QCOMPARE(journal.take(), "0 heartbeat | 1 heartbeat | 2 heartbeat | 3 heartbeat");
        service.installNotificationFilter(nullptr);
        service.notifyObservers("Doors", params);
        QCOMPARE(shared, 6);
    }

    // Receivers and the filter do at random what they may. Each publication has a number; whoever observed the source
    // when it was published is served once, or has been removed since; whoever is served observes the source at that
    // moment.
    void survivesReentrancy()
    {
        std::mt19937 random(7);
        const auto pick = [&](int count) { return int(random() % unsigned(count)); };
        const QStringList sources{"Users", "Doors", "Media"};
        CNotificationService service;
        QHash<QString, QSet<QString>> observers;   // by source, as it is now
        QHash<int, QSet<QString>> mustSee, served; // by publication
        int publications = 0;
        int depth = 0;

        const std::function<void()> act = [&] {
            const QString address = QString::number(pick(25));
            const QString source = sources[pick(3)];
            const int what = pick(8);
            if (what < 3) {
                service.registerObserver(address, {source}, 1);
                observers[source].insert(address);
            } else if (what < 5) {
                what == 3 ? service.unregisterObserver(address, {source}) : service.disconnectSubscriber(address);
                for (auto addresses = observers.begin(); addresses != observers.end(); ++addresses) {
                    if (what == 4 || addresses.key() == source)
                        addresses->remove(address);
                }
                for (QSet<QString>& addresses : mustSee)
                    addresses.remove(address);
            } else if (depth <= 3) {
                ++depth;
                const int id = publications++;
                mustSee[id] = observers[source];
                service.notifyObservers(source, published(id));
                QVERIFY2(served.value(id).contains(mustSee.value(id)), "somebody was skipped");
                mustSee.remove(id);
                --depth;
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
                    const int id = params[1].toMap().value("id").toInt();
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

    void survivesItsDeletion()
    {
        using Act = void (*)(CNotificationService*);
        const Act acts[] = {
            [](auto* service) { service->notifyObservers("Doors", {}); },
            [](auto* service) { service->sendHeartbeatObservers(); },
            [](auto* service) { service->disconnectSubscriber("1"); },
            [](auto* service) { service->receiveMessage("1", "registerObserver", {"new"}, 0); },
            [](auto* service) { service->receiveMessage("1", "registerExtension", {"new"}, 0); },
            [](auto* service) { service->receiveMessage("4", "registerExtension", {"new"}, 0); },
            [](auto* service) { service->receiveMessage("1", "customNotificationResponse", {1}, 0); },
        };
        for (const bool filtered : {false, true}) {
            for (const Act act : acts) {
                auto* service = new CNotificationService;
                const QPointer<CNotificationService> alive(service);
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
                    service->receiveMessage(QString::number(i), "registerExtension", {QString::number(i)}, 0);
                    service->registerObserver(QString::number(i), {"Doors"}, 0);
                }
                service->installNotificationFilter(filtered ? &filter : nullptr);
                connect(service, &CNotificationService::sourcesChanged, this, end);
                connect(service, &CNotificationService::extensionRegistrationChanged, this, end);
                connect(service, &CNotificationService::customNotificationResponseReceived, this, end);
                connect(service, &CNotificationService::messageTransmissionRequested, this, end);
                act(service);
                QVERIFY(!alive);
                QCOMPARE(calls, 1);
            }
        }
    }

    // The first one to be served throws all others out.
    void removalInMidHeartbeat()
    {
        CNotificationService service;
        for (const char* address : {"1", "2", "3"})
            service.registerObserver(address, {}, 0);
        QSignalSpy sent(&service, &CNotificationService::messageTransmissionRequested);
        connect(&service, &CNotificationService::messageTransmissionRequested, this, [&](const QString& served) {
            for (const char* address : {"1", "2", "3"}) {
                if (served != address)
                    service.disconnectSubscriber(address);
            }
        });
        service.sendHeartbeatObservers();
        QCOMPARE(sent.size(), 1);
    }

    // A receiver of sourcesChanged may throw out whoever is just being registered: no extension stays behind without
    // it.
    void invitesNoForgottenExtension()
    {
        CNotificationService service;
        Journal journal(service);
        connect(&service, &CNotificationService::sourcesChanged, this, [&] { service.disconnectSubscriber("guest"); });
        service.receiveMessage("guest", "registerExtension", {"door bell"}, 1);
        QCOMPARE(journal.take(), "sources ExtensionManager");
    }

    void heartbeat()
    {
        const std::pair<const char*, int> rows[] = {{"", 0},    {" '15' ", 15000},       {"0", 0},      {"-3", 0},
                                                    {"abc", 0}, {"2147483", 2147483000}, {"2147484", 0}};
        for (const auto& [setting, interval] : rows) {
            qputenv("QUINTOR_WS_HEARTBEAT", setting);
            CNotificationService service;
            qunsetenv("QUINTOR_WS_HEARTBEAT");
            const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(&service);
            QVERIFY2(timers.size() == (interval ? 1 : 0), setting);
            if (!interval)
                continue;
            QCOMPARE(timers[0].interval, interval);
            QVERIFY(timers[0].timerType != Qt::PreciseTimer);
            Journal journal(service);
            service.registerObserver("client", {}, 0);
            QTimerEvent due(timers[0].timerId);
            QCoreApplication::sendEvent(&service, &due);
            QCOMPARE(journal.take(), "client heartbeat");
        }
    }
};

QTEST_GUILESS_MAIN(TestNotificationService)
#include "tst_notification_service.moc"
