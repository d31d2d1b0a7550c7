// A card at a door. 5,000 people have a right there, half of them by a group with office hours, each with a card.
//
// compile      the door's list from the installation, and sqlite3 only fetching the rows that it is made from
// verdict      what the lock says to a card, and only looking the card up in a hash
// up to date   from the link of a lock without a list until it has said that it keeps the list: the server's end with
// its
//              database, TLS, the lock with its memory on the disk
#include "sqlite_peer.h"

#include <foundation/access/lock.h>
#include <foundation/access/lock_store.h>
#include <foundation/core/device_id.h>
#include <server/audit/audit_trail.h>
#include <server/devices/door_compiler.h>
#include <server/devices/door_controller.h>
#include <server/model/access_facts_sql_p.h>
#include <server/model/sql_access_control.h>

#include <support/transport_link.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>

#include <memory>
#include <random>

namespace {

const CDeviceId device(12345);
const qint64 moment = 1795950000; // a Sunday

/// One file for each number of people, made at first use.
struct Installation
{
    explicit Installation(int people)
        : path(folder.filePath(QStringLiteral("a.db")))
    {
        if (!model.open(path))
            throw std::runtime_error(model.errorString().toStdString());
        const auto label = [](const char* text) {
            return QVariantMap{{QStringLiteral("label"), QString::fromLatin1(text)}};
        };
        model.beginTransaction(QStringLiteral("installation"));
        door = model.createAccessPoint({{QStringLiteral("label"), QStringLiteral("Front")},
                                        {QStringLiteral("timeZone"), QStringLiteral("Europe/Zurich")}});
        const CItemId schedule =
            model.createItem(QStringLiteral("TimeProfiles"),
                             {{QStringLiteral("label"), QStringLiteral("Office hours")},
                              {QStringLiteral("slots"), QStringLiteral("Mon-Fri 07:00-19:00; Holiday closed")}});
        const CItemId group = model.createGroup(label("Staff"));
        model.addAccessRight(group, door, {{QStringLiteral("timeProfileId"), schedule.value()}});
        QList<CItemId> staff;
        for (int i = 0; i < people; ++i) {
            const CItemId user = model.createUser(label("Somebody"));
            model.createItem(QStringLiteral("Media"),
                             {{QStringLiteral("uid"), uidOf(i)}, {QStringLiteral("userId"), user.value()}});
            if (i % 2 == 0)
                staff.append(user);
            else
                model.addAccessRight(user, door, {});
        }
        model.addUsersToGroup(staff, group);
        model.endTransaction();
        if (!model.addDeviceToAccessPoint(device.toLabel(), door, {}))
            throw std::runtime_error(model.errorString().toStdString());
        database = openPeer(path.toStdString());
    }
    ~Installation() { sqlite3_close_v2(database); }
    Q_DISABLE_COPY(Installation)

    static QByteArray uidOf(int i) { return QByteArray("\x04") + QByteArray::number(100000 + i); }

    QTemporaryDir folder;
    QString path;
    CSqlAccessControl model;
    CItemId door;
    sqlite3* database = nullptr;
};

std::unique_ptr<Installation> theInstallation;

Installation& installation(const benchmark::State& state)
{
    if (!theInstallation)
        theInstallation = std::make_unique<Installation>(int(state.range(0)));
    return *theInstallation;
}

// --- Compile

void compileOurs(benchmark::State& state)
{
    Installation& where = installation(state);
    CDoorCompiler compiler(&where.model);
    for (auto _ : state) {
        const CCompiledDoor compiled = compiler.compile(where.door);
        if (compiled.text.count('\n') != state.range(0) + 3)
            state.SkipWithError("another list than expected");
    }
}

void compilePeer(benchmark::State& state)
{
    Installation& where = installation(state);
    std::vector<std::unique_ptr<Statement>> statements;
    for (const QString& sql :
         {AccessFactsSql::rightsAtDoor(), AccessFactsSql::membersAtDoor(), AccessFactsSql::usersAtDoor(),
          AccessFactsSql::credentialsAtDoor(), AccessFactsSql::identitiesAtDoor()})
        statements.push_back(std::make_unique<Statement>(where.database, sql.toUtf8().constData()));
    for (auto _ : state) {
        for (const auto& statement : statements) {
            for (int place = 1; place <= statement->places(); ++place)
                statement->bind(place, where.door.value());
            statement->run();
        }
    }
}

// --- Verdict

struct Cards
{
    explicit Cards(int people)
    {
        std::mt19937 random(1);
        for (int i = 0; i < 1000; ++i)
            shown.push_back(CLockCredential::fromUid(Installation::uidOf(int(random() % unsigned(people)))));
    }
    const CLockCredential& next() { return shown[++at % shown.size()]; }

    std::vector<CLockCredential> shown;
    size_t at = 0;
};

CLockList listOf(const benchmark::State& state)
{
    return *CLockList::fromText(CDoorCompiler(&installation(state).model).compile(theInstallation->door).text);
}

void verdictOurs(benchmark::State& state)
{
    const CLockList list = listOf(state);
    CDeviceTimeZoneSettings settings(4);
    const CAccessTimeZone zone(settings);
    Cards cards(int(state.range(0)));
    for (auto _ : state) {
        const CLockDecision decision = list.decide(cards.next(), moment, zone);
        benchmark::DoNotOptimize(decision);
        if (!decision.isKnown)
            state.SkipWithError("a card that the list has not");
    }
}

void verdictPeer(benchmark::State& state)
{
    QHash<CLockCredential, int> places;
    const CLockList list = listOf(state);
    for (int i = 0; i < list.entries().size(); ++i)
        places.insert(list.entries().at(i).credential, i);
    Cards cards(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(places.constFind(cards.next()).value());
}

// --- Up to date

/// A lock at the far end of a WebSocket over TLS.
class RealLink : public IDeviceLinks
{
public:
    explicit RealLink(const QString& folder)
        : m_store(folder)
    {
        QString error;
        auto memory = m_store.open(CLockJournal::defaultCapacity, &error);
        if (!memory || !m_link.established())
            throw std::runtime_error("no lock, or no link: " + error.toStdString());
        m_lock = std::make_unique<CLock>(*memory);
        carryOut(m_lock->start(now()));
        connect(m_link.near, &CMessageTransfer::dataReceived, this, [this](const QByteArray& message) {
            CLockEffects effects;
            m_lock->handle(message, now(), &effects);
            carryOut(effects);
        });
        connect(m_link.far, &CMessageTransfer::dataReceived, this,
                [this](const QByteArray& message) { Q_EMIT messageReceived(device, message); });
    }

    QList<CDeviceId> linkedDevices() const override
    {
        return m_isLinked ? QList<CDeviceId>{device} : QList<CDeviceId>();
    }
    bool isLinked(CDeviceId) const override { return m_isLinked; }
    bool send(CDeviceId, const QByteArray& message) override
    {
        m_link.far->sendData(message);
        return true;
    }
    void open()
    {
        m_isLinked = true;
        Q_EMIT deviceCame(device);
        carryOut(m_lock->linked(now()));
    }
    static qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }

private:
    void carryOut(const CLockEffects& effects)
    {
        QString error;
        if (!m_store.keep(*m_lock, effects, &error))
            throw std::runtime_error(error.toStdString());
        for (const QByteArray& message : effects.messages)
            m_link.near->sendData(message);
    }

    TransportLink m_link{TransportLink::SecureWebSocket};
    CLockStore m_store;
    std::unique_ptr<CLock> m_lock;
    bool m_isLinked = false;
};

void upToDate(benchmark::State& state)
{
    Installation& where = installation(state);
    CAuditTrail trail(where.model.database());
    for (auto _ : state) {
        QTemporaryDir folder;
        RealLink link(folder.path());
        CDoorController controller(&where.model, &trail, &link);
        QElapsedTimer clock;
        clock.start();
        link.open();
        if (!waitUntil([&] { return controller.status(device).isUpToDate; }))
            state.SkipWithError("not up to date in time");
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
    }
}

} // namespace

constexpr int people = 5000;
BENCHMARK(compileOurs)->Name("door_compile/ours")->Arg(people)->Unit(benchmark::kMillisecond);
BENCHMARK(compilePeer)->Name("door_compile/sqlite3")->Arg(people)->Unit(benchmark::kMillisecond);
BENCHMARK(verdictOurs)->Name("door_verdict/ours")->Arg(people);
BENCHMARK(verdictPeer)->Name("door_verdict/QHash")->Arg(people);
BENCHMARK(upToDate)->Name("door_up_to_date/ours")->Arg(people)->UseManualTime()->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    // While there is an application: Qt's drivers go with it.
    theInstallation.reset();
    return 0;
}
