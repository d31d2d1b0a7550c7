// The trail of events over SQLite, and sqlite3 doing as much of it with a file of the same tables: rows of the same
// size are inserted, each transaction safe on the disk, and all columns of all rows are read.
#include "sqlite_peer.h"

#include <server/audit/audit_trail.h>
#include <server/database/database.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>

#include <memory>

namespace {

AuditEvent event(qint64 number)
{
    AuditEvent made;
    made.kind = AuditKind::Granted;
    made.at = 1700000000000 + number;
    made.accessPoint = CItemId(100 + number % 200);
    made.user = CItemId(1000 + number % 5000);
    made.medium = CItemId(10000 + number % 5000);
    static const QJsonObject details{{QStringLiteral("way"), QStringLiteral("online")},
                                     {QStringLiteral("uid"), QStringLiteral("04:A2:3B:11:22:33:44")},
                                     {QStringLiteral("device"), QStringLiteral("000.123.457")}};
    made.details = details;
    return made;
}

// A file with an empty trail, or with so many events.
struct Trail
{
    explicit Trail(int events = 0)
        : path(folder.filePath(QStringLiteral("a.db")))
    {
        if (!database.open(path) || !trail.append(event(0)))
            throw std::runtime_error(QString(database.errorString() + trail.errorString()).toStdString());
        for (int done = 1; done < events;) {
            QList<AuditEvent> group;
            for (; done < events && group.size() < 1000; ++done)
                group.append(event(done));
            if (!trail.append(group))
                throw std::runtime_error(trail.errorString().toStdString());
        }
        peer = openPeer(path.toStdString());
    }
    ~Trail() { sqlite3_close_v2(peer); }
    Q_DISABLE_COPY(Trail)

    QTemporaryDir folder;
    QString path;
    CDatabase database;
    CAuditTrail trail{&database};
    sqlite3* peer = nullptr;
};

void appendOurs(benchmark::State& state)
{
    Trail where;
    qint64 number = 0;
    QList<AuditEvent> group;
    for (auto _ : state) {
        group.clear();
        for (int i = 0; i < state.range(0); ++i)
            group.append(event(++number));
        if (!where.trail.append(group))
            state.SkipWithError(qPrintable(where.trail.errorString()));
    }
}

void appendPeer(benchmark::State& state)
{
    Trail where;
    const AuditRecord like = where.trail.events({}).constFirst();
    Statement begin(where.peer, "BEGIN IMMEDIATE");
    Statement commit(where.peer, "COMMIT");
    Statement insert(where.peer, "INSERT INTO event(chain,seq,at,recorded,kind,access_point,\"user\",medium,payload,"
                                 "payload_hash,hash) VALUES(?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11)");
    insert.bind(1, like.chain);
    insert.bind(5, qint64(like.kind));
    insert.bind(9, like.payload.toStdString());
    insert.bindBytes(10, like.payloadHash.toStdString());
    insert.bindBytes(11, like.hash.toStdString());
    qint64 number = 0;
    for (auto _ : state) {
        begin.run();
        for (int i = 0; i < state.range(0); ++i) {
            ++number;
            insert.bind(2, 1 + number);
            insert.bind(3, like.at + number);
            insert.bind(4, like.at + number);
            insert.bind(6, 100 + number % 200);
            insert.bind(7, 1000 + number % 5000);
            insert.bind(8, 10000 + number % 5000);
            insert.run();
        }
        commit.run();
    }
}

std::unique_ptr<Trail> longTrail;

Trail& filled(int events)
{
    if (!longTrail)
        longTrail = std::make_unique<Trail>(events);
    return *longTrail;
}

void verifyOurs(benchmark::State& state)
{
    Trail& where = filled(int(state.range(0)));
    for (auto _ : state) {
        const CAuditTrail::Report report = where.trail.verify();
        if (!report.ok() || report.events != state.range(0))
            state.SkipWithError("the trail does not fit");
    }
}

void verifyPeer(benchmark::State& state)
{
    Trail& where = filled(int(state.range(0)));
    Statement read(where.peer,
                   "SELECT chain,seq,at,recorded,kind,payload,payload_hash,hash,access_point,\"user\",medium,"
                   "operator FROM event ORDER BY chain,seq");
    for (auto _ : state)
        read.run();
}

} // namespace

BENCHMARK(appendOurs)->Name("audit_append/ours")->Arg(1)->Arg(100)->UseRealTime();
BENCHMARK(appendPeer)->Name("audit_append/sqlite3")->Arg(1)->Arg(100)->UseRealTime();
BENCHMARK(verifyOurs)->Name("audit_verify/ours")->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(verifyPeer)->Name("audit_verify/sqlite3")->Arg(100000)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    // While there is an application: Qt's drivers go with it.
    longTrail.reset();
    return 0;
}
