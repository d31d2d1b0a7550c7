#include <server/api/api.h>
#include <server/api/api_catalog_p.h>
#include <server/api/api_logins_p.h>
#include <server/api/login_limits_p.h>
#include <server/audit/audit_trail.h>
#include <server/audit/model_audit.h>
#include <server/database/sql_statement_p.h>
#include <server/model/permission_names.h>
#include <server/model/sql_access_control.h>

#include <foundation/services/device_action.h>
#include <foundation/services/device_service.h>
#include <foundation/services/notification_service.h>
#include <foundation/services/script_service.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QMetaMethod>
#include <QtCore/QTimer>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <memory>

namespace {

const QString password = QStringLiteral("correct horse");
constexpr int patience = 30000; // ms: a look at a password takes a tenth of a second of a processor

// Finished when the test says so.
class LateAction : public IDeviceAction
{
    Q_OBJECT

public:
    using IDeviceAction::IDeviceAction;
    void start() override {}
    QString name() const override { return {}; }
    bool isFinished() const override { return false; }
    QVariantMap result() const override { return {{"opened", true}}; }
    QString errorString() const override { return {}; }
    void abort() override {}
    void dispose() override { deleteLater(); }
};

class Devices : public IDeviceService
{
    Q_OBJECT

public:
    Devices()
        : IDeviceService(nullptr)
    {
    }
    IDeviceOperation* createDeviceOperation(const QString&, QVariantMap&) override { return nullptr; }
    void startDeviceOperation(IDeviceOperation*) override {}
    void cancelDeviceOperation(IDeviceOperation*) override {}
    void releaseDeviceOperation(IDeviceOperation*) override {}
    IDeviceAction* createDeviceAction(const QString&, QVariantMap& parameters) override
    {
        operators += parameters.value("operator").toString();
        return actions += new LateAction(this), actions.last();
    }

    QStringList operators;
    QList<LateAction*> actions;
};

} // namespace

class TestApi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_model = std::make_unique<CSqlAccessControl>();
        QVERIFY2(m_model->open("memory"), qPrintable(m_model->errorString()));
        m_trail = std::make_unique<CAuditTrail>(m_model->database());
        m_audit = std::make_unique<CModelAudit>(m_trail.get());
        m_model->setRecorder(m_audit.get());
        m_devices = std::make_unique<Devices>();
        m_hub = std::make_unique<CNotificationService>(nullptr);
        m_api = std::make_unique<CApi>(m_model.get(), m_trail.get(), m_devices.get());
        m_api->setNotificationService(m_hub.get());
    }

    void cleanup()
    {
        m_api.reset();
        m_hub.reset();
        m_model->setRecorder(nullptr);
        m_trail.reset();
        m_model.reset();
    }

    // A new operation of the script service is permitted to nobody until somebody says to whom.
    void everyMethodHasItsLine()
    {
        const QMetaObject& scripts = CScriptService::staticMetaObject;
        for (int i = scripts.methodOffset(); i < scripts.methodCount(); ++i) {
            const QByteArray name = scripts.method(i).name();
            QVERIFY2(ApiRule::find(name), name);
        }
        const QVariantList described = ApiCatalog::instance().describe();
        for (const QVariant& method : described) {
            const QVariantList parameters = method.toMap().value("params").toList();
            bool wasOptional = false;
            for (const QVariant& parameter : parameters) {
                QVERIFY(!parameter.toMap().value("name").toString().isEmpty());
                const bool isOptional = parameter.toMap().value("optional").toBool();
                QVERIFY2(isOptional || !wasOptional, qPrintable(method.toMap().value("name").toString()));
                wasOptional = isOptional;
            }
        }
    }

    // The permission that is described suffices, all others together do not.
    void exactlyThatPermission()
    {
        const auto one = caller("one", 31);
        const auto others = caller("others", 32);
        const QVariantList described = ApiCatalog::instance().describe();
        for (const QVariant& method : described) {
            const QString name = method.toMap().value("name").toString();
            const auto permission = permissionFromName(method.toMap().value("permission").toString());
            if (!permission || name == "quit")
                continue;
            m_model->setLoginPermissions("one", *permission);
            const unsigned int all = 0x7FFFFFF;
            m_model->setLoginPermissions("others", *permission == PermissionAdministrator ? all : all & ~*permission);
            QVERIFY2(error(one, name, QJsonArray{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}) == -32602, qPrintable(name));
            QVERIFY2(error(others, name, QJsonArray()) == -32003, qPrintable(name));
        }
    }

    // Rights and memberships give access: who may change users may not give it to them, or read it, by the way.
    void noWayAround()
    {
        const auto clerk = caller("clerk", 31, PermissionUsersRead | PermissionUsersWrite | PermissionCodesRead);
        const QJsonObject right{{"accessPointId", "3"}};
        QCOMPARE(
            error(clerk, "createUser", QJsonObject{{"properties", QJsonObject{{"Access Points", QJsonArray{right}}}}}),
            -32003);
        QCOMPARE(error(clerk, "cloneUserOrGroup", QJsonArray{"31", QJsonArray{"label", "Access Points"}}), -32003);
        QCOMPARE(error(clerk, "getUserProperty", QJsonArray{"Access Points", "31"}), -32003);
        QCOMPARE(error(clerk, "getUser", QJsonArray{QJsonObject{{"Access Points", "x"}}}), -32003);
        QCOMPARE(error(clerk, "deleteUsersAndGroups", QJsonArray{QJsonArray{"41"}}), -32003);
        QCOMPARE(error(clerk, "items.remove", QJsonArray{"UsersGroups", QJsonArray{"41"}}), -32003);
        QCOMPARE(error(clerk, "items.add", QJsonArray{"UsersGroups", QJsonObject{{"class", 2}}}), -32003);
        QCOMPARE(error(clerk, "items.set", QJsonArray{"UsersGroups", "41", QJsonObject{{"label", "x"}}}), -32003);
        QCOMPARE(error(clerk, "items.set", QJsonArray{"Media", "41", QJsonObject{{"label", "x"}}}), -32003);
        QCOMPARE(error(clerk, "getModel", QJsonArray{"Codes", QJsonObject{{"code", "4711"}}}), -32003);
        QCOMPARE(error(clerk, "getModel", QJsonArray{"Media"}), -32003);
        QCOMPARE(error(clerk, "getModel", QJsonArray{"Nothing"}), -32602);
        const QJsonObject user = result(clerk, "getUser", QJsonArray{QJsonObject{{"id", 31}}}).toObject();
        QCOMPARE(user.value("id").toString(), QString("31"));
        QVERIFY(!user.contains("Access Points"));
        const QJsonArray users = result(clerk, "getModel", QJsonArray{"UsersGroups"}).toArray();
        QVERIFY(!users.isEmpty());
        for (const QJsonValue& each : users)
            QCOMPARE(each.toObject().value("class").toInt(), 1);
        QCOMPARE(
            result(clerk, "getModel", QJsonArray{"UsersGroups", QJsonObject(), QJsonArray{"label"}}).toArray().size(),
            users.size());
        QCOMPARE(error(clerk, "getModel", QJsonArray{"UsersGroups", QJsonObject{{"class", "2"}}}), -32003);
        const QJsonArray codes = result(clerk, "getModel", QJsonArray{"Codes"}).toArray();
        QVERIFY(!codes.isEmpty() && !codes.at(0).toObject().contains("code"));
        m_model->setLoginPermissions("clerk", PermissionCodesRead | PermissionReadPasswords);
        QVERIFY(result(clerk, "getModel", QJsonArray{"Codes"}).toArray().at(0).toObject().contains("code"));
    }

    // What one begins is not done as the other, whoever calls in between; each answer goes to whom it is for.
    void interleaved()
    {
        const auto anna = caller("anna", 31, PermissionAdministrator);
        const auto boris = caller("boris", 32, PermissionAdministrator);
        QJsonObject late;
        send(anna, request("deviceAction", QJsonArray{"open", QJsonObject{{"operator", "somebody"}}}),
             [&](const QJsonObject& answer) { late = answer; });
        const QString user = result(boris, "createUser", QJsonArray{QJsonObject{{"label", "Nina"}}}).toString();
        send(boris, request("deviceAction", QJsonArray{"open", QJsonObject()}), [](const QJsonObject&) {});
        QCOMPARE(m_devices->operators, (QStringList{"31", "32"}));
        QVERIFY(late.isEmpty());
        // Somebody who hears of the end calls again, within it.
        QString inner;
        connect(m_devices->actions.first(), &IDeviceAction::finished, this, [&] {
            inner = result(boris, "getLoggedInId", QJsonArray()).toString();
            QCOMPARE(m_model->getLoggedInId(), CItemId());
        });
        Q_EMIT m_devices->actions.first()->finished();
        QCOMPARE(inner, QString("32"));
        QVERIFY(late.value("result").toObject().value("opened").toBool());
        // The same within a change, from its notification.
        const auto again = connect(m_model.get(), &CSqlAccessControl::notify, this, [&] {
            inner = result(anna, "getLoggedInId", QJsonArray()).toString();
            QCOMPARE(m_model->getLoggedInId(), CItemId(32));
        });
        result(boris, "setUserProperty", QJsonArray{"label", "Olga", user});
        disconnect(again);
        QCOMPARE(inner, QString("31"));
        for (const AuditRecord& event : m_trail->events({{}, CItemId(user.toLongLong()), {AuditKind::Changed}, 0, 0}))
            QCOMPARE(event.details().value("operator").toString(), QString("32"));
        QCOMPARE(m_model->getLoggedInId(), CItemId());
    }

    // In their order; those behind a log-in are its session's; each has its answer, but those without an id.
    void batches()
    {
        m_model->addLogin("anna", CItemId(31), password);
        m_model->setLoginPermissions("anna", PermissionUsersWrite);
        auto stranger = std::make_shared<CApiCaller>();
        QJsonObject silent = request("createUser", QJsonArray{QJsonObject{{"label", "Silent"}}});
        silent.remove("id");
        const QJsonArray calls{request("getLoggedInId", QJsonArray()),
                               request("login", QJsonArray{"anna", password}),
                               silent,
                               request("getLoggedInId", QJsonArray()),
                               7,
                               request("createUser", QJsonObject{{"propertees", 1}})};
        const QJsonArray answers =
            QJsonDocument::fromJson(handle(stranger, QJsonDocument(calls).toJson()).body).array();
        QCOMPARE(answers.size(), 5);
        QList<int> codes;
        for (const QJsonValue& answer : answers)
            codes += answer.toObject().value("error").toObject().value("code").toInt();
        QCOMPARE(codes, (QList<int>{-32001, 0, 0, -32600, -32602}));
        QCOMPARE(answers.at(2).toObject().value("result").toString(), QString("31"));
        QVERIFY(!m_model->getUser({{"label", "Silent"}}).isEmpty());
    }

    void whatTheModelRefuses()
    {
        const auto anna = caller("anna", 31, PermissionAdministrator);
        const QJsonObject answer = ask(anna, request("deleteUser", QJsonArray{"99999"}));
        QCOMPARE(answer.value("error").toObject().value("code").toInt(), -32000);
        QVERIFY(answer.value("error").toObject().value("message").toString().contains("99999"));
        QCOMPARE(error(anna, "createRfidMedium", QJsonArray{QJsonObject{{"uid", "x"}}}), -32000);
        QCOMPARE(error(anna, "cloneUserOrGroup", QJsonArray{"99999", QJsonArray()}), -32000);
        // All or nothing.
        QCOMPARE(
            error(anna, "items.set", QJsonArray{"UsersGroups", "33", QJsonObject{{"Email", "new"}, {"enabled", "x"}}}),
            -32000);
        QVERIFY(m_model->getUserProperty("Email", CItemId(33)) != QVariant("new"));
        QCOMPARE(error(anna, "items.remove", QJsonArray{"UsersGroups", QJsonArray{"34", "99999"}}), -32000);
        QVERIFY(!m_model->getUser({{"id", 34}}).isEmpty());
        // A null takes a property away.
        QCOMPARE(result(anna, "items.set", QJsonArray{"UsersGroups", "33", QJsonObject{{"Email", QJsonValue::Null}}}),
                 QJsonValue(true));
        QVERIFY(!m_model->getUserProperty("Email", CItemId(33)).isValid());
        QCOMPARE(result(anna, "items.find", QJsonArray{"UsersGroups", "CLARA"}).toArray().size(), 1);
        QCOMPARE(result(anna, "items.find", QJsonArray{"UsersGroups", "%"}).toArray().size(), 0);
        // Who is out of service is in no session.
        m_model->setUserProperty("enabled", false, CItemId(31));
        QCOMPARE(error(anna, "getLoggedInId", QJsonArray()), -32001);
    }

    // What a limit leaves out is told, whoever may see how much of it.
    void nothingIsCutSilently()
    {
        const auto anna = caller("anna", 31, PermissionAdministrator);
        const auto clerk = caller("clerk", 32, PermissionUsersRead);
        for (int i = 0; i < 30; ++i)
            result(anna, "createUser", QJsonArray{QJsonObject{{"label", QStringLiteral("Lab %1").arg(i)}}});
        for (int i = 0; i < 5; ++i)
            result(anna, "createGroup", QJsonArray{QJsonObject{{"label", QStringLiteral("Lab group %1").arg(i)}}});
        const auto omitted = [&](const auto& by, const QString& method, const QJsonArray& params, int shown) {
            const QJsonObject answer = ask(by, request(method, params));
            return answer.value("result").toArray().size() == shown ? answer.value("omitted").toInt() : -1;
        };
        QCOMPARE(omitted(anna, "items.find", {"UsersGroups", "lab"}, 20), 15);
        QCOMPARE(omitted(anna, "items.find", {"UsersGroups", "lab", 35}, 35), 0);
        QCOMPARE(omitted(anna, "items.find", {"UsersGroups", "lab", 3, 2}, 3), 2);
        QCOMPARE(omitted(clerk, "items.find", {"UsersGroups", "lab"}, 20), 10);
        QCOMPARE(error(clerk, "items.find", QJsonArray{"UsersGroups", "lab", 3, 2}), -32003);
        const int changes = m_trail->events({{}, {}, {AuditKind::Changed}, 0, 0}).size();
        QCOMPARE(omitted(anna, "events.list", {QJsonObject{{"kind", "changed"}}, 10}, 10), changes - 10);
        const int rows = result(anna, "access.who", QJsonArray{"3"}).toArray().size();
        QVERIFY(rows > 1);
        QCOMPARE(omitted(anna, "access.who", {"3", "", 1}, 1), rows - 1);
        QCOMPARE(error(anna, "access.who", QJsonArray{"3", "", -1}), -32602);
    }

    // Nobody fills the trail by what he may not do.
    void refusalsAreCounted()
    {
        const auto nobody = caller("nobody", 32);
        for (int i = 0; i < CApi::mostRefusalsTold + 50; ++i)
            QCOMPARE(error(nobody, "quit", QJsonArray()), -32003);
        const CAuditTrail::Filter refused{{}, CItemId(32), {AuditKind::Refused}, 0, 0};
        QCOMPARE(m_trail->events(refused).size(), int(CApi::mostRefusalsTold));
        m_api.reset(); // as the minute's end does
        const QList<AuditRecord> events = m_trail->events(refused);
        QCOMPARE(events.size(), CApi::mostRefusalsTold + 1);
        QCOMPARE(events.last().details().value("leftOut").toInt(), 50);
        QCOMPARE(events.last().details().value("login").toString(), QString("nobody"));
    }

    // A name that nobody has may be a password in the wrong field.
    void unknownNamesAreNotKept()
    {
        m_model->addLogin("anna", CItemId(31), password);
        const auto stranger = std::make_shared<CApiCaller>();
        QCOMPARE(error(stranger, "login", QJsonArray{"my secret", "anna"}), -32002);
        QCOMPARE(error(stranger, "login", QJsonArray{"anna", "wrong"}), -32002);
        const QList<AuditRecord> events = m_trail->events({{}, {}, {AuditKind::LoginRefused}, 0, 0});
        QCOMPARE(events.size(), 2);
        QVERIFY(!events.first().payload.contains("secret"));
        QCOMPARE(events.last().details().value("login").toString(), QString("anna"));
    }

    // One who sends all at once gets no more than ten looks, and leaves room for others.
    void loginsAtOnce()
    {
        m_model->addLogin("anna", CItemId(31), password);
        const auto hog = std::make_shared<CApiCaller>();
        hog->address = "192.0.2.1";
        QMap<int, int> codes;
        const auto tryAll = [&](int count, const std::function<QString(int)>& name) {
            codes.clear();
            for (int i = 0; i < count; ++i) {
                send(hog, request("login", QJsonArray{name(i), "wrong"}), [&](const QJsonObject& answer) {
                    ++codes[answer.value("error").toObject().value("code").toInt()];
                });
            }
        };
        tryAll(12, [](int) { return QStringLiteral("anna"); });
        const QMap<int, int> expected{{-32002, int(LoginLimits::wrongPerName)}, {-32029, 2}};
        QTRY_COMPARE_WITH_TIMEOUT(codes, expected, patience);
        tryAll(40, [](int i) { return QString::number(i); });
        QCOMPARE(codes.value(-32029), 40 - ApiLogins::mostQueued - ApiLogins::workers);
        const auto other = std::make_shared<CApiCaller>();
        other->address = "192.0.2.2";
        QVERIFY(!result(other, "login", QJsonArray{"anna", password}).toObject().isEmpty());
        // It was their turn before that of most of the others.
        QVERIFY(codes.value(-32002) < ApiLogins::mostQueued / 2);
        QCOMPARE(codes.value(-32029), 41 - ApiLogins::mostQueued - ApiLogins::workers);
        m_api.reset();
    }

    // Who names a session that is none is a stranger; while the database is away nobody becomes one.
    void sessionsThatAreNone()
    {
        auto stranger = std::make_shared<CApiCaller>();
        stranger->session = QString(64, '0');
        const QByteArray rubbish(CApi::longestOfStrangers + 1, 'x');
        QVERIFY(handle(stranger, rubbish).body.contains("-32600"));
        QVERIFY(stranger->session.isEmpty());
        const auto anna = caller("anna", 31, PermissionAdministrator);
        QVERIFY(handle(anna, rubbish).body.contains("-32700"));
    }

    // Strangers fill the trail no more than one who has a login.
    void refusedLoginsAreCounted()
    {
        m_model->addLogin("anna", CItemId(31), password);
        // A hash that takes no time.
        SqlStatement(m_model->database(), "UPDATE login SET parameters='N=2,r=1,p=1'").exec();
        constexpr int extra = 5;
        int refusals = 0;
        for (int i = 0; i < ApiLogins::mostTold + extra;) {
            const auto stranger = std::make_shared<CApiCaller>();
            stranger->address = QString("192.0.2.%1").arg(i / LoginLimits::wrongPerName);
            send(stranger, request("login", QJsonArray{"anna", "wrong"}), [&](const QJsonObject& answer) {
                refusals += answer.value("error").toObject().value("code").toInt() == -32002 ? 1 : 0;
            });
            if (++i % ApiLogins::mostQueued == 0 || i == ApiLogins::mostTold + extra)
                QTRY_COMPARE_WITH_TIMEOUT(refusals, i, patience);
        }
        const CAuditTrail::Filter refused{{}, {}, {AuditKind::LoginRefused}, 0, 0};
        QCOMPARE(m_trail->events(refused).size(), int(ApiLogins::mostTold));
        m_api.reset(); // as the minute's end does
        QCOMPARE(m_trail->events(refused).last().details().value("leftOut").toInt(), extra);
    }

    // Too much of an answer, and too long without one.
    void answers()
    {
        const auto anna = caller("anna", 31, PermissionAdministrator);
        for (int i = 0; i < 4; ++i)
            m_model->createUser({{"label", "Long"}, {"Note", QString(990000, QChar(0xe4))}});
        const QJsonArray long7{"UsersGroups", QJsonObject{{"label", "Long"}}};
        QCOMPARE(result(anna, "getModel", long7).toArray().size(), 4);
        const QJsonArray twice{request("getModel", long7), request("getModel", long7)};
        const QByteArray both = handle(anna, QJsonDocument(twice).toJson()).body;
        QVERIFY(both.contains("the answer is too large") && both.size() < CApi::longestAnswer);
        m_model->createUser({{"label", "Long"}, {"Note", QString(990000, QChar(0xe4))}});
        QCOMPARE(error(anna, "getModel", long7), -32000);

        QJsonObject late;
        send(anna, request("deviceAction", QJsonArray{"open", QJsonObject()}),
             [&](const QJsonObject& answer) { late = answer; });
        const QList<QTimer*> timers = m_api->findChildren<QTimer*>();
        QCOMPARE(timers.size(), 1);
        QCOMPARE(timers.first()->interval(), 75000);
        timers.first()->start(1);
        QTRY_COMPARE(late.value("error").toObject().value("message").toString(), QString("no answer in time"));
        Q_EMIT m_devices->actions.first()->finished();
    }

    void limits()
    {
        LoginLimits limits;
        for (int i = 0; i < LoginLimits::wrongPerName; ++i) {
            QVERIFY(!limits.isBlocked("anna", "::ffff:192.0.2.1", i));
            limits.noteRefusal("anna", "192.0.2.1", i);
        }
        QVERIFY(limits.isBlocked("anna", "192.0.2.1", 10));
        QVERIFY(!limits.isBlocked("anna", "192.0.2.2", 10));
        QVERIFY(!limits.isBlocked("boris", "192.0.2.1", 10));
        QVERIFY(!limits.isBlocked("anna", "192.0.2.1", LoginLimits::window));
        // Names enough from one network, however many addresses it has.
        for (int i = 0; i < LoginLimits::refusalsPerAddress; ++i)
            limits.noteRefusal(QString::number(i), QStringLiteral("2001:db8::%1").arg(i + 1, 0, 16), 100);
        QVERIFY(limits.isBlocked("anna", "2001:db8::ffff:1", 100));
        QVERIFY(!limits.isBlocked("anna", "2001:db8:0:1::1", 100));
        for (int i = 0; i < 2 * LoginLimits::mostRemembered / 10; ++i)
            limits.noteRefusal("x", QStringLiteral("10.%1.%2.1").arg(i / 256).arg(i % 256), 200);

        qint64 now = 0;
        m_api->setClock([&now] { return now; });
        const auto anna = caller("anna", 31);
        int good = 0;
        while (error(anna, "getLoggedInId", QJsonArray()) == 0)
            ++good;
        QVERIFY(qAbs(good - CApi::mostCalls) <= 1);
        now = 100;
        QCOMPARE(error(anna, "getLoggedInId", QJsonArray()), 0);

        // What one caller may have waiting, and observe.
        const auto boris = caller("boris", 32, PermissionAdministrator);
        boris->subscriber = "api 1";
        QList<int> refused;
        for (int i = 0; i <= CApi::mostWaiting; ++i) {
            send(boris, request("deviceAction", QJsonArray{"open", QJsonObject()}),
                 [&](const QJsonObject& answer) { refused += answer.value("error").toObject().value("code").toInt(); });
        }
        QCOMPARE(refused, QList<int>{-32029});
        m_devices->actions.first()->finished();
        QCOMPARE(error(boris, "events.list", QJsonArray{QJsonObject(), 1001}), -32602);
        QCOMPARE(error(boris, "items.find", QJsonArray{"Media", "", 101}), -32602);
        QVERIFY(!m_model->addLogin(QString(201, 'x'), CItemId(31), password));
        QVERIFY(!m_model->addLogin("clara", CItemId(31), QString(1001, 'x')));
        QJsonArray sources;
        for (int i = 0; i < CApi::mostSources; ++i)
            sources += QString::number(i);
        QCOMPARE(error(boris, "registerObserver", QJsonArray{QJsonValue(sources)}), 0);
        QCoreApplication::processEvents();
        QCOMPARE(error(boris, "registerObserver", QJsonArray{QJsonArray{"one more"}}), -32602);
        QCOMPARE(error(boris, "registerObserver", QJsonArray{QJsonArray{QString(CApi::longestSource + 1, 'x')}}),
                 -32602);
    }

    // A subscriber hears what its session may read now, and nothing once that is over.
    void observers()
    {
        const auto reader = caller("reader", 33, PermissionMediaRead);
        reader->subscriber = "api 1";
        QSignalSpy sent(m_hub.get(), &CNotificationService::messageTransmissionRequested);
        QCOMPARE(result(reader, "registerObserver", QJsonArray{QJsonArray{"Model", "Access", "Other"}}),
                 QJsonValue(true));
        QVERIFY(sent.isEmpty()); // the answer comes first
        QCoreApplication::processEvents();
        QVERIFY(m_api->admitSubscriber("elsewhere", reader->session));
        QVERIFY(!m_api->admitSubscriber("elsewhere 2", "0123"));
        m_hub->registerObserver("elsewhere", {"Access"}, 0);
        m_hub->registerObserver("trusted", {"Access"}, 0);
        sent.clear();
        const auto heard = [&] {
            QStringList all;
            for (const QList<QVariant>& one : qAsConst(sent))
                all += one.at(0).toString() + ' ' + one.at(2).toList().value(0).toString();
            sent.clear();
            all.sort();
            return all;
        };
        m_hub->notifyObservers("Access", {{"user", 31}});
        m_hub->notifyObservers("Other", {});
        QCOMPARE(heard(), QStringList{"trusted Access"});
        m_hub->notifyObservers("Model", {{"data", QVariantMap{{"Media", QVariantList{QVariantMap{{"id", 7}}}},
                                                              {"Codes", QVariantList{}}}}});
        QCOMPARE(sent.first().at(2).toList().at(1).toMap().value("data").toMap(),
                 (QVariantMap{{"Media", QVariantList{QVariantMap{{"id", "7"}}}}}));
        m_model->setLoginPermissions("reader", PermissionLogs);
        sent.clear();
        m_hub->notifyObservers("Access", {});
        QCOMPARE(heard(), (QStringList{"api 1 Access", "elsewhere Access", "trusted Access"}));
        m_model->setLoginPassword("reader", "another one");
        m_hub->notifyObservers("Access", {});
        QCOMPARE(heard(), QStringList{"trusted Access"});
        QVERIFY(!m_hub->getObservedSources().isEmpty());
        m_api->forget(*reader);
        QVERIFY(m_hub->sourcesOf("api 1").isEmpty());
    }

    // The API may go while calls wait and passwords are looked at; then nobody is answered.
    void endsInBetween()
    {
        const auto anna = caller("anna", 31, PermissionAdministrator);
        int answered = 0;
        const auto count = [&](const QJsonObject&) { ++answered; };
        send(anna, request("deviceAction", QJsonArray{"open", QJsonObject()}), count);
        for (int i = 0; i < 5; ++i)
            send(anna, request("login", QJsonArray{"anna", password}), count);
        m_api.reset();
        Q_EMIT m_devices->actions.first()->finished();
        QTest::qWait(50);
        QCOMPARE(answered, 0);
    }

private:
    static QJsonObject request(const QString& method, const QJsonValue& params)
    {
        return {{"jsonrpc", "2.0"}, {"id", 1}, {"method", method}, {"params", params}};
    }

    // Somebody with a session; passwords are left out, they take their time.
    std::shared_ptr<CApiCaller> caller(const QString& name, qint64 user, unsigned int permissions = 0)
    {
        m_model->addLogin(name, CItemId(user), password);
        m_model->setLoginPermissions(name, permissions);
        auto result = std::make_shared<CApiCaller>();
        result->session = m_model->startSession(name, {}, {}, nullptr);
        return result;
    }

    CApiAnswer handle(const std::shared_ptr<CApiCaller>& by, const QByteArray& bytes)
    {
        CApiAnswer answer;
        bool done = false;
        m_api->handle(bytes, by, [&](const CApiAnswer& given) {
            answer = given;
            done = true;
        });
        [&] { QTRY_VERIFY_WITH_TIMEOUT(done, patience); }();
        return answer;
    }

    void send(const std::shared_ptr<CApiCaller>& by, const QJsonObject& call,
              const std::function<void(const QJsonObject&)>& done)
    {
        m_api->handle(QJsonDocument(call).toJson(), by,
                      [done](const CApiAnswer& answer) { done(QJsonDocument::fromJson(answer.body).object()); });
    }

    QJsonObject ask(const std::shared_ptr<CApiCaller>& by, const QJsonObject& call)
    {
        return QJsonDocument::fromJson(handle(by, QJsonDocument(call).toJson()).body).object();
    }

    int error(const std::shared_ptr<CApiCaller>& by, const QString& method, const QJsonValue& params)
    {
        return ask(by, request(method, params)).value("error").toObject().value("code").toInt();
    }

    QJsonValue result(const std::shared_ptr<CApiCaller>& by, const QString& method, const QJsonArray& params)
    {
        const QJsonObject answer = ask(by, request(method, params));
        if (answer.contains("error"))
            qWarning("%s: %s", qPrintable(method), QJsonDocument(answer).toJson().constData());
        return answer.value("result");
    }

    std::unique_ptr<CSqlAccessControl> m_model;
    std::unique_ptr<CAuditTrail> m_trail;
    std::unique_ptr<CModelAudit> m_audit;
    std::unique_ptr<Devices> m_devices;
    std::unique_ptr<CNotificationService> m_hub;
    std::unique_ptr<CApi> m_api;
};

QTEST_GUILESS_MAIN(TestApi)
#include "tst_api.moc"
