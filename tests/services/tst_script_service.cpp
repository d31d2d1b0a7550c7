#include <foundation/core/device_id.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>
#include <foundation/services/device_service.h>
#include <foundation/services/script_service.h>

#include <QtTest/QtTest>

#include <memory>

namespace {

QStringList journal;

class Operation : public IDeviceOperation
{
    Q_OBJECT
    Q_PROPERTY(quint32 deviceId MEMBER m_deviceId)
    Q_PROPERTY(int scratch MEMBER m_scratch STORED false)
    Q_PROPERTY(int architecture MEMBER m_architecture)

public:
    explicit Operation(QObject* parent)
        : IDeviceOperation(parent, HighPriority)
    {
    }
    bool complete() override
    {
        journal.append(QStringLiteral("complete"));
        return true;
    }
    void execute() override {}
    QString description() const override { return QString(); }
    void abort() override {}
    void dispose() override
    {
        journal.append(QStringLiteral("dispose"));
        delete this;
    }
    void takeFromManager() override {}

    quint32 m_deviceId = 123456;
    int m_scratch = 1;
    int m_architecture = CDataType::CardArchitectureMifareClassic;
};

class ReadMedium : public Operation
{
    Q_OBJECT
    Q_PROPERTY(QByteArray uid MEMBER m_uid)
    Q_PROPERTY(QVariantList results MEMBER m_results)
    Q_PROPERTY(QVariant publicMediaId MEMBER m_publicMediaId)
    Q_PROPERTY(quint32 deviceId MEMBER m_ownDeviceId)

public:
    using Operation::Operation;
    QByteArray m_uid = QByteArray::fromHex("04a122");
    QVariantList m_results{1, true, QStringLiteral("x")};
    QVariant m_publicMediaId;
    quint32 m_ownDeviceId = 123457;
};

class Action : public IDeviceAction
{
    Q_OBJECT

public:
    Action(QObject* parent, bool finished)
        : IDeviceAction(parent)
        , m_finished(finished)
    {
    }
    void start() override {}
    QString name() const override { return QString(); }
    bool isFinished() const override { return m_finished; }
    QVariantMap result() const override { return {{QStringLiteral("open"), true}}; }
    QString errorString() const override { return QString(); }
    void abort() override {}
    void dispose() override
    {
        journal.append(QStringLiteral("dispose"));
        deleteLater();
    }

private:
    bool m_finished;
};

class Devices : public IDeviceService
{
    Q_OBJECT

public:
    Devices()
        : IDeviceService(nullptr)
    {
    }
    IDeviceOperation* createDeviceOperation(const QString& name, QVariantMap& params) override
    {
        if (name == QLatin1String("read"))
            return operation = new ReadMedium(this);
        if (name == QLatin1String("fail"))
            params.insert(QStringLiteral("errorString"), QStringLiteral("no such device"));
        return nullptr;
    }
    void startDeviceOperation(IDeviceOperation*) override { journal.append(QStringLiteral("start")); }
    void cancelDeviceOperation(IDeviceOperation*) override {}
    void releaseDeviceOperation(IDeviceOperation*) override { journal.append(QStringLiteral("release")); }
    IDeviceAction* createDeviceAction(const QString& name, QVariantMap&) override
    {
        if (name == QLatin1String("none"))
            return nullptr;
        return action = new Action(this, name == QLatin1String("quick"));
    }
    QPointer<IDeviceOperation> operation;
    QPointer<IDeviceAction> action;
};

class Model : public CAccessControlMock
{
public:
    bool startWaitingForRfidMedium(const CDeviceId& device) override { return device.value() == 12345; }
    QVariantMap cloneUserOrGroup(CItemId id, const QStringList&) override
    {
        const QVariantMap leaf{{QStringLiteral("id"), id.value()}, {QStringLiteral("Id2"), 2}};
        const QVariantMap node{{QStringLiteral("nodes"), QVariantList{leaf, 7}},
                               {QStringLiteral("ownerId"), QVariant::fromValue(id)}};
        return {{QStringLiteral("nodes"), QVariantList{node}}, {QStringLiteral("idle"), 3}};
    }
    void sendCustomNotification(const QString&, const QString&, const QVariantMap&, MapCallback callback) override
    {
        late = callback;
    }
    MapCallback late;
};

} // namespace

class TestScriptService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void idsAreTexts();
    void storedProperties();
    void deviceOperation();
    void deviceAction();
    void rfidWait();
    void callbacksComeOnceAtMost_data();
    void callbacksComeOnceAtMost();
    void notifications();
    void mappings();
    void worksWithoutModel();

private:
    std::unique_ptr<Model> m_model;
    std::unique_ptr<Devices> m_devices;
    std::unique_ptr<CScriptService> m_service;
    QList<QVariantMap> m_answers;
    CScriptService::Callback m_callback = [this](const QVariantMap& answer) {
        journal.append(QStringLiteral("callback"));
        m_answers.append(answer);
    };
};

void TestScriptService::init()
{
    m_service.reset();
    m_model = std::make_unique<Model>();
    m_devices = std::make_unique<Devices>();
    m_service = std::make_unique<CScriptService>(m_model.get(), m_devices.get(), this);
    m_answers.clear();
    journal.clear();
}

void TestScriptService::idsAreTexts()
{
    const QString user = m_service->createUser({}).toString();
    const QString group = m_service->createGroup({}).toString();
    QVERIFY(user.toInt() > 0);
    QCOMPARE(m_service->addUsersToGroup({user}, group), QVariant(true));
    QCOMPARE(m_service->addUsersToGroup({user, QStringLiteral("0x1f")}, group), QVariant(false));
    QCOMPARE(m_service->getUsersOfGroup(group), QVariantList{user});
    QCOMPARE(m_service->getUsersOfGroup(group)[0].userType(), int(QMetaType::QString));
    const QVariant members = m_service->getGroupProperty(QStringLiteral("Members"), group);
    QCOMPARE(members.toList().value(0).userType(), int(QMetaType::QString));
    const QVariant owner = m_service->getRfidMediumProperty(QStringLiteral("userId"), QStringLiteral("51"));
    QCOMPARE(owner.userType(), int(QMetaType::QString));
    QVERIFY(!m_service->getRfidMediumProperty(QStringLiteral("keeperId"), QStringLiteral("51")).isValid());
    const QVariantMap medium = m_service->getModel(QStringLiteral("Media"), {}, {}).value(0).toMap();
    QCOMPARE(medium.value(QStringLiteral("id")).userType(), int(QMetaType::QString));
    QCOMPARE(medium.value(QStringLiteral("uid")).userType(), int(QMetaType::QByteArray));

    const QVariantMap tree = m_service->cloneUserOrGroup(QStringLiteral("9007199254740993"), {});
    const QVariantMap node = tree.value(QStringLiteral("nodes")).toList().value(0).toMap();
    const QVariantList leaves = node.value(QStringLiteral("nodes")).toList();
    QCOMPARE(node.value(QStringLiteral("ownerId")).toString(), QStringLiteral("9007199254740993"));
    QCOMPARE(leaves.value(0).toMap().value(QStringLiteral("id")).userType(), int(QMetaType::QString));
    QCOMPARE(leaves.value(0).toMap().value(QStringLiteral("Id2")).userType(), int(QMetaType::Int));
    QCOMPARE(leaves.value(1).userType(), int(QMetaType::Int));

    QVariantMap info;
    QVERIFY(QMetaObject::invokeMethod(m_service.get(), "getSystemInfo", Q_RETURN_ARG(QVariantMap, info)));
    QCOMPARE(info, m_model->getSystemInfo());
}

void TestScriptService::storedProperties()
{
    const ReadMedium operation(nullptr);
    QStringList names;
    const auto properties = operation.storedProperties();
    for (const QMetaProperty& property : properties)
        names.append(QLatin1String(property.name()));
    QCOMPARE(names.join(QLatin1Char(' ')), QStringLiteral("deviceId architecture uid results publicMediaId deviceId"));
    QCOMPARE(operation.storedPropertiesMap().value(QStringLiteral("deviceId")).toInt(), 123457);
    QCOMPARE(operation.status(), IDeviceOperation::Pending);
}

void TestScriptService::deviceOperation()
{
    m_service->deviceOperation(QStringLiteral("fail"), {}, m_callback);
    m_service->deviceOperation(QStringLiteral("unknown"), {}, m_callback);
    const QVariantMap error{{QStringLiteral("errorString"), QStringLiteral("no such device")}};
    QCOMPARE(m_answers, (QList<QVariantMap>{error, {}}));

    journal.clear();
    m_service->deviceOperation(QStringLiteral("read"), {}, m_callback);
    QCOMPARE(journal, QStringList{QStringLiteral("start")});
    Q_EMIT m_devices->operation->finished();
    QCOMPARE(journal.join(QLatin1Char(' ')), QStringLiteral("start complete release dispose callback"));
    const QVariantMap result = m_answers.last();
    QCOMPARE(result.value(QStringLiteral("deviceid")).toString(), CDeviceId(123457).toLabel());
    QCOMPARE(result.value(QStringLiteral("deviceId")).toInt(), 123457);
    QCOMPARE(result.value(QStringLiteral("uid")), QVariant(QStringLiteral("04A122")));
    QCOMPARE(result.value(QStringLiteral("cardArchitecture")).toString(),
             QLatin1String(CDataType::cardArchitectureToString(CDataType::CardArchitectureMifareClassic)));
    QCOMPARE(result.value(QStringLiteral("results")).toStringList().join(QLatin1Char(' ')), QStringLiteral("1 true x"));
    QVERIFY(!result.contains(QStringLiteral("publicMediaLabel")));
    QVERIFY(!result.contains(QStringLiteral("systemid")));
}

void TestScriptService::deviceAction()
{
    m_service->deviceAction(QStringLiteral("none"), {}, m_callback);
    m_service->deviceAction(QStringLiteral("quick"), {}, m_callback);
    QCOMPARE(journal.join(QLatin1Char(' ')), QStringLiteral("callback callback dispose"));
    m_service->deviceAction(QStringLiteral("slow"), {}, m_callback);
    QCOMPARE(m_answers.size(), 2);
    Q_EMIT m_devices->action->finished();
    const QVariantMap open{{QStringLiteral("open"), true}};
    QCOMPARE(m_answers, (QList<QVariantMap>{{}, open, open}));
    QCOMPARE(journal.last(), QStringLiteral("dispose"));
}

void TestScriptService::rfidWait()
{
    m_service->startWaitingForRfidMedium(QStringLiteral("no label"), m_callback);
    QCOMPARE(m_answers, QList<QVariantMap>{{}});
    m_service->startWaitingForRfidMedium(CDeviceId(12345).toLabel(), m_callback);
    Q_EMIT m_model->rfidMediumDetected({{QStringLiteral("label"), QStringLiteral("first")}});
    Q_EMIT m_model->rfidMediumDetected({{QStringLiteral("label"), QStringLiteral("second")}});
    QCOMPARE(m_answers.size(), 2);
    QCOMPARE(m_answers[1].value(QStringLiteral("label")).toString(), QStringLiteral("first"));
}

void TestScriptService::callbacksComeOnceAtMost_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("ending");
    for (const char* kind : {"operation", "action", "medium", "notification"})
        for (const char* ending : {"again", "makers gone", "service gone", "callback ends service", "empty"})
            QTest::addRow("%s, %s", kind, ending) << QString::fromLatin1(kind) << QString::fromLatin1(ending);
}

void TestScriptService::callbacksComeOnceAtMost()
{
    QFETCH(QString, kind);
    QFETCH(QString, ending);
    CScriptService::Callback callback = m_callback;
    if (ending == QLatin1String("callback ends service"))
        callback = [this](const QVariantMap& answer) {
            m_callback(answer);
            m_service.reset();
        };
    if (ending == QLatin1String("empty")) {
        callback = nullptr;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("without a callback")));
    }
    if (kind == QLatin1String("operation"))
        m_service->deviceOperation(QStringLiteral("read"), {}, callback);
    else if (kind == QLatin1String("action"))
        m_service->deviceAction(QStringLiteral("slow"), {}, callback);
    else if (kind == QLatin1String("medium"))
        m_service->startWaitingForRfidMedium(CDeviceId(12345).toLabel(), callback);
    else
        m_service->sendCustomNotification(QString(), QString(), {}, callback);

    if (ending == QLatin1String("makers gone")) {
        m_devices.reset();
        m_model->late = nullptr;
        m_model.reset();
        QVERIFY(m_answers.size() == 1 || kind == QLatin1String("notification"));
    } else {
        if (ending == QLatin1String("service gone"))
            m_service.reset();
        for (int i = 0; i < 2; ++i) {
            if (m_devices->operation)
                Q_EMIT m_devices->operation->finished();
            if (m_devices->action)
                Q_EMIT m_devices->action->finished();
            Q_EMIT m_model->rfidMediumDetected({});
            if (m_model->late)
                m_model->late({});
        }
        QCOMPARE(m_answers.size(), ending == QLatin1String("again") || ending.startsWith(QLatin1String("callback")));
        QCOMPARE(journal.count(QStringLiteral("dispose")),
                 kind == QLatin1String("operation") || kind == QLatin1String("action"));
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!m_service || m_service->children().isEmpty() || kind == QLatin1String("notification"));
}

void TestScriptService::notifications()
{
    QList<QVariantMap> seen;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("without a handler")));
    m_service->setNotificationHandler(nullptr);
    m_service->setNotificationHandler(
        [&](const QString& name, const QVariantMap& parameters, const QString& extension) {
            QCOMPARE(name + extension, QStringLiteral("UsersBell"));
            seen.append(parameters);
            if (seen.size() == 2)
                m_service->setNotificationHandler([](const QString&, const QVariantMap&, const QString&) {});
        });
    const QVariantList users{QVariantMap{{QStringLiteral("groupId"), 8}}};
    QVariantMap parameters{
        {QStringLiteral("event"), QStringLiteral("changed")},
        {QStringLiteral("data"), QVariantMap{{QStringLiteral("users"), users}, {QStringLiteral("count"), 1}}}};
    for (const char* event : {"changed", "Changed", "changed"}) {
        parameters.insert(QStringLiteral("event"), QLatin1String(event));
        Q_EMIT m_model->notify(QStringLiteral("Users"), parameters, QStringLiteral("Bell"));
    }
    QCOMPARE(seen.size(), 2);
    const auto groupId = [](const QVariantMap& map) {
        const QVariantMap data = map.value(QStringLiteral("data")).toMap();
        return data.value(QStringLiteral("users")).toList().value(0).toMap().value(QStringLiteral("groupId"));
    };
    QCOMPARE(groupId(seen[0]).userType(), int(QMetaType::QString));
    QCOMPARE(groupId(seen[1]).userType(), int(QMetaType::Int));
}

void TestScriptService::mappings()
{
    for (const char* name :
         {"DeviceType", "UserClass", "CardArchitecture", "CardMediumType", "DeviceRole", "AccessPointFunction",
          "AuthPointClass", "UserAction", "OutputType", "ActionProfileClass", "PositionClass"})
        QVERIFY2(m_service->getMapping(QLatin1String(name)).size() > 1, name);
    QVERIFY(m_service->getMapping(QStringLiteral("userClass")).isEmpty());
    QCOMPARE(m_service->getMapping(QStringLiteral("UserClass")).value(QStringLiteral("3")).toString(),
             QStringLiteral("Media Pool"));
    QVERIFY(!m_service->getMapping(QStringLiteral("DeviceRole")).contains(QStringLiteral("8")));
    QVERIFY(!m_service->getMapping(QStringLiteral("UserAction")).contains(QStringLiteral("8")));
}

void TestScriptService::worksWithoutModel()
{
    CScriptService service(nullptr, nullptr, nullptr);
    QVERIFY(service.getUser({}).isEmpty());
    QVERIFY(!service.createUser({}).toBool());
    service.quit(QString());
    service.sendTemplateEmail(1, {}, {}, m_callback);
    service.deviceOperation(QStringLiteral("read"), {}, m_callback);
    service.startWaitingForRfidMedium(QString(), m_callback);
    QCOMPARE(m_answers, (QList<QVariantMap>{{}, {}, {}}));
}

QTEST_GUILESS_MAIN(TestScriptService)
#include "tst_script_service.moc"
