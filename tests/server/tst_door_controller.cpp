#include <foundation/access/lock.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/notification_service.h>
#include <server/audit/audit_trail.h>
#include <server/devices/device_service.h>
#include <server/devices/door_compiler.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QQueue>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "support/database_places.h"

namespace {

const CDeviceId front(12345);

/// Real locks over a wire that the test holds: what one end sends waits until it is carried.
class Wire : public IDeviceLinks
{
public:
    using IDeviceLinks::IDeviceLinks;

    QList<CDeviceId> linkedDevices() const override
    {
        return m_isLinked ? QList<CDeviceId>{front} : QList<CDeviceId>();
    }
    bool isLinked(CDeviceId device) const override { return m_isLinked && device == front; }
    bool send(CDeviceId device, const QByteArray& message) override
    {
        if (isLinked(device))
            toLock.enqueue(message);
        return isLinked(device);
    }

    void link()
    {
        m_isLinked = true;
        Q_EMIT deviceCame(front);
        take(lock.linked(now()));
    }
    void unlink()
    {
        m_isLinked = false;
        toLock.clear();
        toServer.clear();
        take(lock.unlinked(now()));
        Q_EMIT deviceLeft(front);
    }
    /// As after a power cut: what was kept is all that is left.
    void restartLock()
    {
        CLockMemory memory = lock.memory();
        memory.journal = *CLockJournal::fromText(memory.journal.toText(), CLockJournal::defaultCapacity);
        lock = CLock(memory);
        take(lock.start(now()));
    }
    CLockOutcome present(const QByteArray& uid)
    {
        outcomes.clear();
        take(lock.present(CLockCredential::fromUid(uid), now()));
        return outcomes.value(0);
    }
    bool carryOne()
    {
        if (!toLock.isEmpty()) {
            CLockEffects effects;
            lock.handle(toLock.dequeue(), now(), &effects);
            take(effects);
            return true;
        }
        if (toServer.isEmpty())
            return false;
        Q_EMIT messageReceived(front, toServer.dequeue());
        return true;
    }
    /// Until nobody has more to say.
    void settle()
    {
        for (int quiet = 0; quiet < 5;) {
            QCoreApplication::processEvents();
            quiet = carryOne() ? 0 : quiet + 1;
        }
    }
    static qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }
    void take(const CLockEffects& effects)
    {
        opened += effects.openSeconds > 0 ? 1 : 0;
        outcomes += effects.outcomes;
        for (const QByteArray& message : effects.messages) {
            if (m_isLinked)
                toServer.enqueue(message);
        }
    }

    CLock lock;
    QQueue<QByteArray> toLock;
    QQueue<QByteArray> toServer;
    QVector<CLockOutcome> outcomes;
    int opened = 0;

private:
    bool m_isLinked = false;
};

struct Building
{
    Building()
    {
        wire.take(wire.lock.start(Wire::now()));
        if (!model.open(places.location("a.db")))
            qFatal("no model");
        door = model.createAccessPoint({{"label", "Front"}, {"timeZone", "Europe/Zurich"}});
        user = model.createUser({{"label", "Ada"}});
        medium = model.createItem("Media", {{"uid", uid}, {"userId", user.value()}});
        model.addDeviceToAccessPoint(front.toLabel(), door, {});
        startServer();
    }
    void startServer()
    {
        controller.reset();
        trail = std::make_unique<CAuditTrail>(model.database());
        controller = std::make_unique<CDoorController>(&model, trail.get(), &wire);
        model.setDevices(controller.get());
    }
    QStringList kinds() const
    {
        QStringList texts;
        const auto events = trail->events({});
        for (const AuditRecord& event : events)
            texts.append(auditKindName(AuditKind(event.kind)));
        return texts;
    }
    QJsonObject last() const { return trail->events({}, 1).value(0).details(); }

    const QByteArray uid = QByteArray::fromHex("04a1223b5c6d80");
    DatabasePlaces places;
    CSqlAccessControl model;
    std::unique_ptr<CAuditTrail> trail;
    Wire wire;
    std::unique_ptr<CDoorController> controller;
    CItemId door, user, medium;
};

} // namespace

class DoorControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCardAtADoor();
    void theModelCannotBeRead();
    void onlineAccess();
    void aTransferThatBreaksOffAnywhere();
    void eventsOverRestartsOfEitherSide();
    void aRingThatOverflowsOnALink();
    void reportsWaitForTheDatabase();
    void operationsOfTheModel();
    void operationsAndActions();
};

void DoorControllerTest::aCardAtADoor()
{
    Building b;
    CNotificationService hub;
    QStringList told;
    hub.receiveMessage("ws", "registerObserver", {QVariant(QVariantList{"Access", "Devices"})}, 0);
    connect(&hub, &CNotificationService::messageTransmissionRequested, this,
            [&told](const QString&, const QString& method, const QVariantList& params) {
                if (method == "notify")
                    told.append(params.value(0).toString() + ' ' + params.value(1).toMap().value("event").toString());
            });
    b.controller->setNotificationService(&hub);
    b.wire.link();
    b.wire.settle();
    QVERIFY(b.controller->status(front).isUpToDate);
    QCOMPARE(b.wire.lock.memory().zone.dstPeriods.isEmpty(), false);
    QCOMPARE(int(b.wire.present(b.uid).reason), int(CAccessReason::CredentialUnknown));
    b.wire.settle();
    // The door did not know whose it is, nor what was missing.
    QCOMPARE(b.last().value("serverReason").toString(), QString("Unauthorized"));
    CAuditTrail::Filter ofUser;
    ofUser.user = b.user;
    ofUser.kinds = {AuditKind::Denied};
    QCOMPARE(b.trail->events(ofUser).size(), 1);

    const CItemId right = b.model.addAccessRight(b.user, b.door, {});
    QVERIFY(!b.controller->status(front).isUpToDate);
    b.wire.settle();
    QVERIFY(b.controller->status(front).isUpToDate);
    QVERIFY(b.wire.present(b.uid).isAllowed);
    QVERIFY(b.model.deleteAccessRight(right));
    b.wire.unlink();
    // Nobody could tell it yet.
    QVERIFY(b.wire.present(b.uid).isAllowed);
    b.wire.link();
    b.wire.settle();
    QVERIFY(!b.wire.present(b.uid).isAllowed);
    b.wire.settle();
    QCOMPARE(b.kinds(), QStringList({"start", "denied", "granted", "granted", "denied"}));
    QVERIFY(b.trail->verify().ok());
    QCOMPARE(told.count("Access granted"), 2);
    QCOMPARE(told.count("Access denied"), 2);
    QVERIFY(told.contains("Devices upToDate"));
    // Without its door the device opens to nobody.
    b.model.addAccessRight(b.user, b.door, {});
    b.wire.settle();
    QVERIFY(b.wire.present(b.uid).isAllowed);
    QVERIFY(b.model.deleteDevice(front.toLabel()));
    b.wire.settle();
    QVERIFY(!b.wire.present(b.uid).isAllowed);
}

// A device that comes meanwhile keeps what it has, and a change is made up for by itself.
void DoorControllerTest::theModelCannotBeRead()
{
    if (DatabasePlaces::onPostgres())
        QSKIP("a file is simply moved away");
    Building b;
    b.model.addAccessRight(b.user, b.door, {});
    b.wire.link();
    b.wire.settle();
    QVERIFY(b.wire.present(b.uid).isAllowed);
    b.wire.settle();
    const QString path = b.model.database()->location();
    QVERIFY(QFile::rename(path, path + ".away"));
    QVERIFY(b.model.createUser({{"label", "Bob"}}) <= CItemId() && b.model.database()->isAway());
    b.wire.unlink();
    b.wire.link();
    b.wire.settle();
    QVERIFY(b.wire.present(b.uid).isAllowed);
    b.wire.settle();
    QVERIFY(!b.controller->status(front).isUpToDate && !b.controller->status(front).fault.isEmpty());
    QVERIFY(QFile::rename(path + ".away", path));
    QTRY_VERIFY((b.wire.settle(), b.controller->status(front).isUpToDate));
    QCOMPARE(b.controller->status(front).accessPoint, b.door);
    QVERIFY(b.wire.present(b.uid).isAllowed);
    CAuditTrail::Filter ofDoor;
    ofDoor.accessPoint = b.door;
    ofDoor.kinds = {AuditKind::Granted};
    QTRY_COMPARE((b.wire.settle(), b.trail->events(ofDoor).size()), 3);
}

void DoorControllerTest::onlineAccess()
{
    Building b;
    b.model.addAccessRight(b.user, b.door, {{"options", uint(CDataType::AccessRightOptionOnlineAccess)}});
    b.wire.link();
    b.wire.settle();
    b.wire.present(b.uid);
    QVERIFY(b.wire.outcomes.isEmpty());
    QElapsedTimer clock;
    clock.start();
    b.wire.settle();
    QVERIFY(clock.elapsed() < 100);
    QVERIFY(b.wire.outcomes.value(0).isAllowed);
    QCOMPARE(int(b.wire.outcomes.value(0).way), int(CLockWay::Online));
    QVERIFY(b.model.setItemProperty("Media", "blocked", true, b.medium));
    b.wire.present(b.uid);
    b.wire.settle();
    QCOMPARE(int(b.wire.outcomes.value(0).reason), int(CAccessReason::CredentialNotEnabled));
}

void DoorControllerTest::aTransferThatBreaksOffAnywhere()
{
    Building b;
    b.model.beginTransaction("people");
    const CItemId group = b.model.createGroup({{"label", "All"}});
    QList<CItemId> people;
    for (int i = 0; i < 3000; ++i) {
        people.append(b.model.createUser({{"label", "P"}}));
        b.model.createItem("Media", {{"uid", QByteArray::number(10000000 + i)}, {"userId", people.last().value()}});
    }
    b.model.addUsersToGroup(people, group);
    b.model.addAccessRight(group, b.door, {});
    b.model.endTransaction();
    b.wire.link();
    b.wire.settle();
    QVERIFY(b.controller->status(front).isUpToDate);
    CDoorCompiler compiler(&b.model);
    int steps = 0;
    for (bool isWhole = false; !isWhole; ++steps) {
        const QByteArray before = b.wire.lock.revision();
        // Each time another list, so that there is something to send; after a break all of it goes.
        b.wire.unlink();
        QVERIFY(b.model.setUserProperty("enabled", steps % 2 == 1, people.first()));
        b.wire.link();
        for (int carried = 0; carried < steps; ++carried) {
            QCoreApplication::processEvents();
            b.wire.carryOne();
        }
        QVERIFY(b.wire.lock.revision() == before || b.wire.lock.revision() == compiler.compile(b.door).revision);
        isWhole = b.controller->status(front).isUpToDate && b.wire.lock.revision() != before;
        QVERIFY(steps < 200);
    }
    b.wire.settle();
    QVERIFY(b.controller->status(front).isUpToDate);
    QVERIFY(steps > 10);
}

void DoorControllerTest::eventsOverRestartsOfEitherSide()
{
    Building b;
    qint64 presented = 0;
    for (int round = 0; round < 100; ++round) {
        b.wire.link();
        for (int carried = round % 7; carried > 0; --carried) {
            QCoreApplication::processEvents();
            b.wire.present(b.uid);
            ++presented;
            b.wire.carryOne();
        }
        b.wire.unlink();
        if (round % 2 == 0)
            b.wire.restartLock();
        if (round % 3 == 0)
            b.startServer();
    }
    b.wire.link();
    b.wire.settle();
    QCOMPARE(qint64(b.kinds().count("denied")), presented);
    QSet<int> numbers;
    const auto events = b.trail->events({});
    for (const AuditRecord& event : events) {
        if (event.details().contains("deviceSeq"))
            numbers.insert(event.details().value("deviceSeq").toInt());
    }
    QCOMPARE(numbers.size(), int(b.wire.lock.memory().journal.next()) - 1);
    QCOMPARE(numbers.size(), b.kinds().size());
    QCOMPARE(b.wire.lock.memory().journal.count(), 0);
}

void DoorControllerTest::aRingThatOverflowsOnALink()
{
    Building b;
    constexpr int capacity = 5;
    b.wire.lock = CLock(CLockMemory{QByteArray(), CLockJournal(capacity), {}, 0});
    b.wire.link();
    b.wire.settle();
    for (int i = 0; i < 3 * capacity; ++i)
        b.wire.present(b.uid);
    // The server could not store them for a while.
    b.wire.toServer.clear();
    b.wire.take(b.wire.lock.tick(Wire::now() + CLock::patienceForStoring + 1000));
    b.wire.settle();
    QCOMPARE(b.wire.lock.memory().journal.count(), 0);
    QCOMPARE(b.wire.lock.memory().journal.lost(), qint64(2 * capacity));
    QCOMPARE(b.kinds().count("denied"), capacity);
}

void DoorControllerTest::reportsWaitForTheDatabase()
{
    constexpr int most = 100;
    Building b;
    b.wire.link();
    b.wire.settle();
    b.model.database()->setWriteWait(0);
    CDatabase other;
    QVERIFY(other.open(b.model.database()->location()) && other.begin());
    const int before = b.kinds().size();
    const auto report = [&](qint64 number) {
        CLockEvent event;
        event.kind = CLockEventKind::Forced;
        event.number = number;
        Q_EMIT b.wire.messageReceived(front, CLockMessage::toBytes(CLockEvents{QByteArray(32, 'e'), {event}}));
    };
    for (int number = 1; number <= most + 20; ++number)
        report(number);
    QVERIFY(other.end(true));
    QTRY_COMPARE(b.kinds().size(), before + most);
    // The others come again, and are no more than that.
    for (int number = most; number <= most + 20; ++number)
        report(number);
    QCOMPARE(b.kinds().size(), before + most + 20);
}

void DoorControllerTest::operationsOfTheModel()
{
    Building b;
    QVERIFY(!b.model.openAccessPoint(b.door, {}));
    QVERIFY(b.model.errorString().contains("not linked"));
    b.wire.link();
    b.wire.settle();
    QVERIFY(b.model.openAccessPoint(b.door, {{"seconds", 5}, {"comment", "parcel"}}));
    b.wire.settle();
    QCOMPARE(b.wire.opened, 1);
    QCOMPARE(b.kinds().last(), QString("opened"));
    QCOMPARE(b.last().value("comment").toString(), QString("parcel"));
    QVERIFY(!b.model.openAccessPoint(4711, {}));
    QVERIFY(!b.model.executeAccessPointAsLoggedInUser(QString::number(b.door.value()), 0, {}, {}));

    QSignalSpy detected(&b.model, &ISimpleAccessControl::rfidMediumDetected);
    QVERIFY(b.model.startWaitingForRfidMedium(front));
    QVERIFY(b.model.simulateRfidMedium(front.toLabel(), 0, 0x223B5C6D, 7, 0));
    b.wire.settle();
    QCOMPARE(detected.size(), 1);
    QCOMPARE(detected.first().first().toMap().value("uid").toByteArray(), QByteArray::fromHex("000000223b5c6d"));
}

void DoorControllerTest::operationsAndActions()
{
    Building b;
    CDeviceService service(b.controller.get());
    QVariantMap params{{"device", front.toLabel()}};
    QVERIFY(!service.createDeviceOperation("fly", params));
    QVERIFY(params.value("errorString").toString().contains("fly"));
    IDeviceOperation* early = service.createDeviceOperation("transferAuthorizations", params);
    QVERIFY(early);
    service.startDeviceOperation(early);
    QCOMPARE(early->status(), IDeviceOperation::Failed);
    early->dispose();
    b.model.addAccessRight(b.user, b.door, {});
    b.wire.link();
    for (const char* name : {"transferAuthorizations", "readEvents"}) {
        IDeviceOperation* operation = service.createDeviceOperation(name, params);
        QSignalSpy finished(operation, &IDeviceOperation::finished);
        service.startDeviceOperation(operation);
        b.wire.settle();
        QCOMPARE(finished.size(), 1);
        QCOMPARE(operation->storedPropertiesMap().value("errorString").toString(), QString());
        QCOMPARE(operation->storedPropertiesMap().value("deviceId").toUInt(), front.value());
        QVERIFY(operation->complete());
        service.releaseDeviceOperation(operation);
        operation->dispose();
    }
    IDeviceAction* open = service.createDeviceAction("open", params);
    QVERIFY(!open->isFinished());
    b.wire.settle();
    QVERIFY(open->isFinished());
    QCOMPARE(open->result().value("opened").toBool(), true);
    open->dispose();
    IDeviceAction* status = service.createDeviceAction("status", params);
    QCOMPARE(status->result().value("upToDate").toBool(), true);
    status->dispose();
}

int main(int argc, char** argv)
{
    return runOnAllDatabases<DoorControllerTest>(argc, argv);
}

#include "tst_door_controller.moc"
