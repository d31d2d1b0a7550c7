// Who may open which door, facts and verdict, and sqlite3 only fetching the rows that the verdict is made from: the
// same joins on the same file. 10,000 doors, 1,000 groups with rights at 100 doors each, half of them with a schedule,
// 5 groups a user. Argument: users.
#include "model_work.h"
#include "sqlite_peer.h"

#include <foundation/access/access_evaluator.h>
#include <server/model/access_facts_source.h>
#include <server/model/access_facts_sql_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>

#include <map>
#include <memory>
#include <random>
#include <vector>

namespace {

const qint64 moment = 1795950000; // a Sunday

/// One file for each size, made at first use.
struct Installation
{
    explicit Installation(int users)
        : path(folder.filePath(QStringLiteral("a.db")))
    {
        CDemonstrationFill fill;
        fill.users = users;
        fill.doors = 10000;
        fill.groups = 1000;
        fill.groupsOfUser = 5;
        fill.doorsOfGroup = 100;
        makeInstallation(model, path, fill);
        if (!addSchedules())
            throw std::runtime_error(model.errorString().toStdString());
        database = openPeer(path.toStdString());
        source = IAccessFactsSource::of(&model);
        choosePairs();
    }

    ~Installation() { sqlite3_close_v2(database); }
    Q_DISABLE_COPY(Installation)

    bool addSchedules()
    {
        const CItemId calendar = model.createItem(QStringLiteral("HolidayCalendars"), {{QStringLiteral("label"), 1}});
        for (int day = 0; day < 12; ++day)
            model.createItem(QStringLiteral("Holidays"), {{QStringLiteral("label"), day},
                                                          {QStringLiteral("calendarId"), calendar.value()},
                                                          {QStringLiteral("date"), QDate(2026, day + 1, 6)}});
        const CItemId schedule =
            model.createItem(QStringLiteral("TimeProfiles"),
                             {{QStringLiteral("label"), QStringLiteral("Office hours")},
                              {QStringLiteral("slots"), QStringLiteral("Mon-Fri 07:00-19:00; Holiday closed")},
                              {QStringLiteral("calendarId"), calendar.value()}});
        sqlite3* writer = nullptr;
        sqlite3_open(path.toUtf8().constData(), &writer);
        const std::string sql =
            "UPDATE access_right SET time_profile=" + std::to_string(schedule.value()) + " WHERE holder%2=0";
        const bool good = sqlite3_exec(writer, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
        sqlite3_close(writer);
        return good && schedule != CItemId();
    }

    // Users and doors at which they have a right, all over the installation.
    void choosePairs()
    {
        Statement groupOf(database, "SELECT group_id FROM membership WHERE user_id=?1 LIMIT 1");
        Statement doorOf(database,
                         "SELECT access_point FROM access_right WHERE holder=?1 ORDER BY id LIMIT 1 OFFSET ?2");
        Statement first(database, "SELECT min(user_id) FROM membership");
        Statement last(database, "SELECT max(user_id) FROM membership");
        std::mt19937 random(1);
        const qint64 begin = first.run();
        const qint64 end = last.run();
        while (pairs.size() < 1000) {
            const qint64 user = std::uniform_int_distribution<qint64>(begin, end)(random);
            groupOf.bind(1, user);
            const qint64 group = groupOf.run(); // 0 for an id that is a card's
            doorOf.bind(1, group);
            doorOf.bind(2, qint64(random() % 100));
            if (group != 0)
                pairs.push_back({user, doorOf.run()});
        }
    }

    QTemporaryDir folder;
    QString path;
    CSqlAccessControl model;
    std::unique_ptr<IAccessFactsSource> source;
    sqlite3* database = nullptr;
    struct Pair
    {
        CItemId user;
        CItemId door;
    };
    std::vector<Pair> pairs;
};

std::map<int, std::unique_ptr<Installation>> installations;

Installation& installation(const benchmark::State& state)
{
    auto& entry = installations[int(state.range(0))];
    if (!entry)
        entry = std::make_unique<Installation>(int(state.range(0)));
    return *entry;
}

/// Bare statements, asked about one user or door after the other.
void runPeer(benchmark::State& state, const std::vector<QString>& sql, bool aboutUser)
{
    Installation& where = installation(state);
    std::vector<std::unique_ptr<Statement>> statements;
    for (const QString& text : sql)
        statements.push_back(std::make_unique<Statement>(where.database, text.toUtf8().constData()));
    size_t i = 0;
    for (auto _ : state) {
        const Installation::Pair& pair = where.pairs[++i % where.pairs.size()];
        for (const auto& statement : statements) {
            for (int place = 1; place <= statement->places(); ++place)
                statement->bind(place, (aboutUser ? pair.user : pair.door).value());
            // The one join of both: the door stands first.
            if (&statement == &statements.front() && aboutUser && statements.size() > 1)
                statement->bind(1, pair.door.value());
            statement->run();
        }
    }
}

void whyOurs(benchmark::State& state)
{
    Installation& where = installation(state);
    size_t i = 0;
    size_t chains = 0;
    for (auto _ : state) {
        const Installation::Pair& pair = where.pairs[++i % where.pairs.size()];
        const CAccessFacts facts = where.source->ofUserAtDoor(pair.user, pair.door);
        chains += size_t(CAccessEvaluator::verdict(facts, moment).chains.size());
    }
    if (chains < i)
        state.SkipWithError("a user without a right");
}

void whyPeer(benchmark::State& state)
{
    runPeer(state, {AccessFactsSql::rightsOfUserAtDoor(), AccessFactsSql::credentialsOfUser()}, true);
}

void whoOurs(benchmark::State& state)
{
    Installation& where = installation(state);
    size_t i = 0;
    size_t chains = 0;
    for (auto _ : state) {
        const CAccessFacts facts = where.source->ofDoor(where.pairs[++i % where.pairs.size()].door);
        chains += size_t(CAccessEvaluator::chains(facts, moment).size());
    }
    state.counters["rows"] = double(chains) / double(i);
}

void whoPeer(benchmark::State& state)
{
    runPeer(state,
            {AccessFactsSql::rightsAtDoor(), AccessFactsSql::membersAtDoor(), AccessFactsSql::usersAtDoor(),
             AccessFactsSql::credentialsAtDoor()},
            false);
}

} // namespace

BENCHMARK(whyOurs)->Name("access_why/ours")->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(whyPeer)->Name("access_why/sqlite3")->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(whoOurs)->Name("access_who/ours")->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(whoPeer)->Name("access_who/sqlite3")->Arg(100000)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    // While there is an application: Qt's drivers go with it.
    installations.clear();
    return 0;
}
