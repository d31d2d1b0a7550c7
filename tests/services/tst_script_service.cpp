#include <foundation/core/device_id.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>
#include <foundation/services/device_service.h>
#include <foundation/services/script_service.h>

#include <QtCore/QJsonDocument>
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
    using IDeviceOperation::IDeviceOperation;
    bool complete() override
    {
        journal.append("complete");
        return true;
    }
    void execute() override {}
    QString description() const override { return QString(); }
    void abort() override {}
    void dispose() override
    {
        journal.append("dispose");
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
    Q_PROPERTY(QVariant deviceId MEMBER m_ownDeviceId)

public:
    using Operation::Operation;
    QByteArray m_uid = QByteArray::fromHex("04a122");
    QVariantList m_results{1, true, "x"};
    QVariant m_publicMediaId;
    QVariant m_ownDeviceId = 123457u;
};

class Action : public IDeviceAction
{
    Q_OBJECT

public:
    using IDeviceAction::IDeviceAction;
    void start() override {}
    QString name() const override { return QString(); }
    bool isFinished() const override { return finished; }
    QVariantMap result() const override { return {{"open", true}}; }
    QString errorString() const override { return QString(); }
    void abort() override {}
    void dispose() override
    {
        journal.append("dispose");
        deleteLater();
    }

    bool finished = false;
};

class Devices : public IDeviceService
{
    Q_OBJECT

public:
    using IDeviceService::IDeviceService;
    IDeviceOperation* createDeviceOperation(const QString& name, QVariantMap& params) override
    {
        if (name == "read")
            return operation = new ReadMedium(this, IDeviceOperation::HighPriority);
        if (name == "fail")
            params.insert("errorString", "no such device");
        return nullptr;
    }
    void startDeviceOperation(IDeviceOperation*) override { journal.append("start"); }
    void cancelDeviceOperation(IDeviceOperation*) override {}
    void releaseDeviceOperation(IDeviceOperation*) override { journal.append("release"); }
    IDeviceAction* createDeviceAction(const QString& name, QVariantMap&) override
    {
        if (name == "none")
            return nullptr;
        auto* created = new Action(this);
        created->finished = name == "quick";
        return action = created;
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
        const QVariantMap leaf{{"id", id.value()}, {"Id2", 2}};
        const QVariantMap inner{{"nodes", QVariant::fromValue(QList<QVariantMap>{leaf})}};
        const QVariantMap node{{"nodes", QVariantList{inner, 7}}, {"ownerId", QVariant::fromValue(id)}};
        return {{"nodes", QVariantList{node}}, {"idle", 3}};
    }
    void sendCustomNotification(const QString&, const QString&, const QVariantMap&, MapCallback callback) override
    {
        late = callback;
    }
    QVariant getSystemProperty(const QString&, CItemId) const override { return property; }

    MapCallback late;
    QVariant property;
};

// A text has quotes, a number has none.
QString json(const QVariant& value)
{
    return QJsonDocument::fromVariant(QVariantList{value}).toJson(QJsonDocument::Compact).chopped(1).mid(1);
}

} // namespace

class TestScriptService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_service.reset();
        m_model = std::make_unique<Model>();
        m_devices = std::make_unique<Devices>(nullptr);
        m_service = std::make_unique<CScriptService>(m_model.get(), m_devices.get(), this);
        m_answers.clear();
        journal.clear();
    }

    void idsAreTexts()
    {
        const QString user = m_service->createUser({}).toString();
        const QString group = m_service->createGroup({}).toString();
        QVERIFY(user.toInt() > 0);
        QCOMPARE(m_service->addUsersToGroup({user}, group), QVariant(true));
        QCOMPARE(m_service->addUsersToGroup({user, "0x1f"}, group), QVariant(false));
        const QString quoted = "[\"" + user + "\"]";
        QCOMPARE(json(m_service->getUsersOfGroup(group)), quoted);
        QCOMPARE(json(m_service->getGroupProperty("Members", group)), quoted);
        QCOMPARE(json(m_service->getRfidMediumProperty("userId", "51")), "\"31\"");
        QVERIFY(!m_service->getRfidMediumProperty("keeperId", "51").isValid());
        const QVariantMap medium = m_service->getModel("Media", {}, {}).value(0).toMap();
        QCOMPARE(json(medium.value("id")), "\"51\"");
        QCOMPARE(medium.value("uid").userType(), int(QMetaType::QByteArray));
        QCOMPARE(
            json(m_service->cloneUserOrGroup("9007199254740993", {})),
            R"({"idle":3,"nodes":[{"nodes":[{"nodes":[{"Id2":2,"id":"9007199254740993"}]},7],"ownerId":"9007199254740993"}]})");

        QVariantMap info;
        QVERIFY(QMetaObject::invokeMethod(m_service.get(), "getSystemInfo", Q_RETURN_ARG(QVariantMap, info)));
        QCOMPARE(info, m_model->getSystemInfo());
    }

    // A script that reads a property and writes it back changes nothing, whatever the property is called.
    void propertyValues()
    {
        const QVariantMap map{{"groupId", 8}, {"kept", QVariantMap{{"id", 9}}}};
        const QDate date(2026, 11, 22);
        struct
        {
            const char* name;
            QVariant value;
            QVariant read;
        } const rows[] = {
            {"Employee Id", "E-4711", "E-4711"},
            {"Employee Id", "0042", "0042"},
            {"Birth Id", date, date},
            {"rawId", 7, 7},
            {"keyId", QVariant::fromValue(CItemId(7)), "7"},
            {"actionProfileId", 7, "7"},
            {"groups", QVariant::fromValue(CItemIdList{7, 8}), QVariantList{"7", "8"}},
            {"lastId", map, QVariantMap{{"groupId", "8"}, {"kept", QVariantMap{{"id", 9}}}}},
            {"list", QVariant::fromValue(QList<QVariantMap>{{{"id", 8}}}), QVariantList{QVariantMap{{"id", "8"}}}},
            {"names", QStringList{"a"}, QStringList{"a"}},
        };
        for (const auto& row : rows) {
            m_model->property = row.value;
            const QVariant read = m_service->getSystemProperty(row.name, "31");
            QCOMPARE(read, row.read);
            QCOMPARE(read.userType(), row.read.userType());
        }
    }

    void storedProperties()
    {
        const ReadMedium operation(nullptr, IDeviceOperation::HighPriority);
        QStringList names;
        for (const QMetaProperty& property : operation.storedProperties())
            names.append(property.name());
        QCOMPARE(names.join(' '), "deviceId architecture uid results publicMediaId deviceId");
        QCOMPARE(operation.storedPropertiesMap().value("deviceId").toInt(), 123457);
        QCOMPARE(operation.status(), IDeviceOperation::Pending);
    }

    void deviceOperation()
    {
        m_service->deviceOperation("fail", {}, m_callback);
        m_service->deviceOperation("unknown", {}, m_callback);
        const QVariantMap error{{"errorString", "no such device"}};
        QCOMPARE(m_answers, (QList<QVariantMap>{error, {}}));

        journal.clear();
        m_service->deviceOperation("read", {}, m_callback);
        QCOMPARE(journal, QStringList{"start"});
        Q_EMIT m_devices->operation->finished();
        QCOMPARE(journal.join(' '), "start complete release dispose callback");
        QCOMPARE(json(m_answers.last()),
                 R"({"architecture":3,"cardArchitecture":"MIFARE Classic","deviceId":123457,"deviceid":"001.234.570",)"
                 R"("publicMediaId":null,"results":["1","true","x"],"uid":"04A122"})");

        const std::pair<QVariant, const char*> ids[] = {{123457LL, "001.234.570"},
                                                        {QVariant::fromValue(CDeviceId(123457)), "001.234.570"},
                                                        {"123457", "001.234.570"},
                                                        {(1LL << 32) + 1, "000.000.000"},
                                                        {-1, "000.000.000"}};
        for (const auto& [id, label] : ids) {
            m_service->deviceOperation("read", {}, m_callback);
            m_devices->operation->setProperty("deviceId", id);
            Q_EMIT m_devices->operation->finished();
            QCOMPARE(m_answers.last().value("deviceid").toString(), label);
        }
    }

    void deviceAction()
    {
        m_service->deviceAction("none", {}, m_callback);
        m_service->deviceAction("quick", {}, m_callback);
        QCOMPARE(journal.join(' '), "callback callback dispose");
        m_service->deviceAction("slow", {}, m_callback);
        QCOMPARE(m_answers.size(), 2);
        Q_EMIT m_devices->action->finished();
        const QVariantMap open{{"open", true}};
        QCOMPARE(m_answers, (QList<QVariantMap>{{}, open, open}));
        QCOMPARE(journal.last(), "dispose");
    }

    void rfidWait()
    {
        m_service->startWaitingForRfidMedium("no label", m_callback);
        QCOMPARE(m_answers, QList<QVariantMap>{{}});
        m_service->startWaitingForRfidMedium(CDeviceId(12345).toLabel(), m_callback);
        Q_EMIT m_model->rfidMediumDetected({{"label", "first"}});
        Q_EMIT m_model->rfidMediumDetected({{"label", "second"}});
        QCOMPARE(m_answers, (QList<QVariantMap>{{}, {{"label", "first"}}}));
    }

    void callbacksComeOnceAtMost_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("ending");
        for (const char* kind : {"operation", "action", "medium", "notification"})
            for (const char* ending : {"again", "makers gone", "service gone", "callback ends service", "empty"})
                QTest::addRow("%s, %s", kind, ending) << kind << ending;
    }

    void callbacksComeOnceAtMost()
    {
        QFETCH(QString, kind);
        QFETCH(QString, ending);
        CScriptService::Callback callback = m_callback;
        if (ending == "callback ends service")
            callback = [this](const QVariantMap& answer) {
                m_callback(answer);
                m_service.reset();
            };
        if (ending == "empty") {
            callback = nullptr;
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("without a callback"));
        }
        if (kind == "operation")
            m_service->deviceOperation("read", {}, callback);
        else if (kind == "action")
            m_service->deviceAction("slow", {}, callback);
        else if (kind == "medium")
            m_service->startWaitingForRfidMedium(CDeviceId(12345).toLabel(), callback);
        else
            m_service->sendCustomNotification(QString(), QString(), {}, callback);

        if (ending == "makers gone") {
            m_devices.reset();
            m_model->late = nullptr;
            m_model.reset();
            QVERIFY(m_answers.size() == 1 || kind == "notification");
        } else {
            if (ending == "service gone")
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
            QCOMPARE(m_answers.size(), ending == "again" || ending.startsWith("callback"));
            QCOMPARE(journal.count("dispose"), kind == "operation" || kind == "action");
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!m_service || m_service->children().isEmpty() || kind == "notification");
    }

    void notifications()
    {
        QList<QVariantMap> seen;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("without a handler"));
        m_service->setNotificationHandler(nullptr);
        m_service->setNotificationHandler(
            [&](const QString& name, const QVariantMap& parameters, const QString& extension) {
                QCOMPARE(name + extension, "UsersBell");
                seen.append(parameters);
                if (seen.size() == 2)
                    m_service->setNotificationHandler([](const QString&, const QVariantMap&, const QString&) {});
            });
        const QVariantMap data{{"users", QVariantList{QVariantMap{{"groupId", 8}}}}, {"count", 1}};
        for (const char* event : {"changed", "Changed", "changed"})
            Q_EMIT m_model->notify("Users", {{"event", event}, {"data", data}}, "Bell");
        QCOMPARE(seen.size(), 2);
        QCOMPARE(json(seen[0]), R"({"data":{"count":1,"users":[{"groupId":"8"}]},"event":"changed"})");
        QCOMPARE(json(seen[1]), R"({"data":{"count":1,"users":[{"groupId":8}]},"event":"Changed"})");
    }

    void mappings()
    {
        for (const char* name :
             {"DeviceType", "UserClass", "CardArchitecture", "CardMediumType", "DeviceRole", "AccessPointFunction",
              "AuthPointClass", "UserAction", "OutputType", "ActionProfileClass", "PositionClass"})
            QVERIFY2(m_service->getMapping(name).size() > 1, name);
        QVERIFY(m_service->getMapping("userClass").isEmpty());
        QCOMPARE(m_service->getMapping("UserClass").value("3").toString(), "Media Pool");
        QVERIFY(!m_service->getMapping("DeviceRole").contains("8"));
        QVERIFY(!m_service->getMapping("UserAction").contains("8"));
    }

    void worksWithoutModel()
    {
        CScriptService service(nullptr, nullptr, nullptr);
        QVERIFY(service.getUser({}).isEmpty());
        QVERIFY(!service.createUser({}).toBool());
        service.quit(QString());
        service.sendTemplateEmail(1, {}, {}, m_callback);
        service.deviceOperation("read", {}, m_callback);
        service.startWaitingForRfidMedium(QString(), m_callback);
        QCOMPARE(m_answers, (QList<QVariantMap>{{}, {}, {}}));
    }

private:
    std::unique_ptr<Model> m_model;
    std::unique_ptr<Devices> m_devices;
    std::unique_ptr<CScriptService> m_service;
    QList<QVariantMap> m_answers;
    CScriptService::Callback m_callback = [this](const QVariantMap& answer) {
        journal.append("callback");
        m_answers.append(answer);
    };
};

QTEST_GUILESS_MAIN(TestScriptService)
#include "tst_script_service.moc"
