// The model over SQLite, and sqlite3 doing the same with the same file: the same statements, stepped to the end and
// every column read. Argument: users of the installation.
#include "model_work.h"
#include "sqlite_peer.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// One file for each size, made at first use.
struct Installation
{
    explicit Installation(int users)
        : path(folder.filePath(QStringLiteral("a.db")))
    {
        makeInstallation(model, path, users);
        database = openPeer(path.toStdString());
    }

    ~Installation() { sqlite3_close_v2(database); }
    Q_DISABLE_COPY(Installation)

    QTemporaryDir folder;
    QString path;
    CSqlAccessControl model;
    sqlite3* database = nullptr;
};

std::map<int, std::unique_ptr<Installation>> installations;

Installation& installation(int users)
{
    auto& entry = installations[users];
    if (!entry)
        entry = std::make_unique<Installation>(users);
    return *entry;
}

const char findSql[] =
    "SELECT w.item FROM property_value w CROSS JOIN item i ON i.id=w.item WHERE w.property=(SELECT id FROM "
    "property WHERE kind=5 AND name=?1) AND w.value=?2 AND w.item>0 AND i.kind=5 AND i.class=1 ORDER BY "
    "w.item LIMIT 1";

void userByFilterOurs(benchmark::State& state)
{
    const int users = int(state.range(0));
    findUsers(state, installation(users).model, users);
}

void userByFilterPeer(benchmark::State& state)
{
    const int users = int(state.range(0));
    sqlite3* database = installation(users).database;
    Statement find(database, findSql);
    Statement item(database, "SELECT id,class,label,parent FROM item WHERE id=?1");
    Statement values(database,
                     "SELECT item,p.name,type,value,data FROM property_value v JOIN property p ON p.id=v.property "
                     "WHERE item=?1");
    Statement rights(database, "SELECT * FROM access_right WHERE holder=?1 ORDER BY id");
    Statement members(database, "SELECT user_id FROM membership WHERE group_id=?1 ORDER BY position");
    find.bind(1, std::string("Personnel Number"));
    int number = 0;
    for (auto _ : state) {
        number = nextUser(number, users);
        find.bind(2, std::to_string(1 + number));
        const qint64 id = find.run();
        for (Statement* statement : {&item, &values, &rights, &members}) {
            statement->bind(1, id);
            statement->run();
        }
    }
}

void userPropertyOurs(benchmark::State& state)
{
    readProperties(state, installation(int(state.range(0))).model);
}

void userPropertyPeer(benchmark::State& state)
{
    Installation& where = installation(int(state.range(0)));
    const std::vector<CItemId> ids = someUsers(where.model);
    Statement statement(where.database,
                        "SELECT v.type,v.value,v.data,i.class FROM property_value v JOIN item i ON "
                        "i.id=v.item WHERE v.item=?1 AND v.property=(SELECT id FROM property WHERE kind=5 "
                        "AND name=?2)");
    statement.bind(2, std::string("Email"));
    size_t i = 0;
    for (auto _ : state) {
        statement.bind(1, ids[(i += 31) % ids.size()].value());
        statement.run();
    }
}

void readAllOurs(benchmark::State& state)
{
    Installation& where = installation(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(where.model.getModel(QStringLiteral("UsersGroups"), {}, {}));
}

void readAllPeer(benchmark::State& state)
{
    Installation& where = installation(int(state.range(0)));
    Statement items(where.database, "SELECT id,class,label,parent FROM item WHERE kind=5 ORDER BY id");
    Statement values(where.database, "SELECT v.item,p.name,v.type,v.value,v.data FROM item i JOIN property_value v ON "
                                     "v.item=i.id JOIN property p ON p.id=v.property WHERE i.kind=5 ORDER BY i.id");
    Statement rights(where.database, "SELECT * FROM access_right ORDER BY holder,id");
    Statement members(where.database, "SELECT group_id,user_id FROM membership ORDER BY group_id,position");
    for (auto _ : state) {
        for (Statement* statement : {&items, &values, &rights, &members})
            statement->run();
    }
}

void setPropertyOurs(benchmark::State& state)
{
    Installation& where = installation(int(state.range(0)));
    const std::vector<CItemId> ids = someUsers(where.model);
    int i = 0;
    for (auto _ : state) {
        ++i;
        where.model.setUserProperty(QStringLiteral("Room"), i, ids[size_t(i) % ids.size()]);
    }
}

void setPropertyPeer(benchmark::State& state)
{
    Installation& where = installation(int(state.range(0)));
    const std::vector<CItemId> ids = someUsers(where.model);
    Statement begin(where.database, "BEGIN IMMEDIATE");
    Statement commit(where.database, "COMMIT");
    Statement look(where.database, "SELECT kind,class FROM item WHERE id=?1");
    Statement property(where.database, "SELECT id FROM property WHERE kind=5 AND name='Room'");
    Statement set(where.database, "INSERT INTO property_value(item,property,type,value) VALUES(?1,?2,2,?3) ON "
                                  "CONFLICT(item,property) DO UPDATE SET type=2,value=excluded.value");
    Statement change(where.database, "INSERT INTO change(at,server,kind,item,what) VALUES(0,'',5,?1,2)");
    int i = 0;
    for (auto _ : state) {
        const qint64 id = ids[size_t(++i) % ids.size()].value();
        begin.run();
        look.bind(1, id);
        look.run();
        set.bind(1, id);
        set.bind(2, property.run());
        set.bind(3, std::to_string(i));
        set.run();
        change.bind(1, id);
        change.run();
        commit.run();
    }
}

void fillOurs(benchmark::State& state)
{
    for (auto _ : state) {
        QTemporaryDir folder;
        CSqlAccessControl model;
        CDemonstrationFill fill;
        fill.users = int(state.range(0));
        QString error;
        if (!model.open(folder.filePath(QStringLiteral("a.db"))) || !fill.run(&model, &error))
            state.SkipWithError(qPrintable(error));
    }
}

// The rows that the fill has made are written once more, into an empty file with the same tables.
void fillPeer(benchmark::State& state)
{
    Installation& where = installation(int(state.range(0)));
    struct Row
    {
        std::vector<std::string> columns;
    };
    struct Table
    {
        const char* name;
        int columns;
        std::vector<Row> rows;
    };
    std::vector<Table> tables{{"item", 5, {}},
                              {"property", 3, {}},
                              {"property_value", 5, {}},
                              {"membership", 3, {}},
                              {"access_right", 8, {}}};
    for (Table& table : tables) {
        sqlite3_stmt* statement = nullptr;
        // In the order in which they came.
        const std::string sql = std::string("SELECT * FROM ") + table.name + " ORDER BY 1,2";
        sqlite3_prepare_v2(where.database, sql.c_str(), -1, &statement, nullptr);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            Row row;
            for (int column = 0; column < table.columns; ++column) {
                const unsigned char* text = sqlite3_column_text(statement, column);
                row.columns.push_back(text != nullptr ? reinterpret_cast<const char*>(text) : "");
            }
            table.rows.push_back(row);
        }
        sqlite3_finalize(statement);
    }
    std::string schema;
    sqlite3_exec(
        where.database, "SELECT sql FROM sqlite_master WHERE sql IS NOT NULL AND name NOT LIKE 'sqlite_%'",
        [](void* target, int, char** columns, char**) {
            *static_cast<std::string*>(target) += std::string(columns[0]) + ";";
            return 0;
        },
        &schema, nullptr);
    for (auto _ : state) {
        QTemporaryDir folder;
        sqlite3* database = nullptr;
        sqlite3_open(folder.filePath(QStringLiteral("a.db")).toUtf8().constData(), &database);
        sqlite3_exec(database, schema.c_str(), nullptr, nullptr, nullptr);
        sqlite3_exec(database,
                     "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON; PRAGMA "
                     "cache_size=-16384; BEGIN IMMEDIATE",
                     nullptr, nullptr, nullptr);
        for (const Table& table : tables) {
            std::string sql = std::string("INSERT INTO ") + table.name + " VALUES(NULLIF(?,'')";
            for (int column = 1; column < table.columns; ++column)
                sql += ",NULLIF(?,'')";
            Statement insert(database, (sql + ")").c_str());
            for (const Row& row : table.rows) {
                for (int column = 0; column < table.columns; ++column)
                    insert.bind(column + 1, row.columns[size_t(column)]);
                insert.run();
            }
        }
        sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(database);
    }
}

} // namespace

BENCHMARK(userByFilterOurs)->Name("model_user_by_filter/ours")->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(userByFilterPeer)->Name("model_user_by_filter/sqlite3")->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(userPropertyOurs)->Name("model_property/ours")->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(userPropertyPeer)->Name("model_property/sqlite3")->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(readAllOurs)->Name("model_read_all/ours")->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(readAllPeer)->Name("model_read_all/sqlite3")->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(setPropertyOurs)->Name("model_set_property/ours")->Arg(10000)->UseRealTime();
BENCHMARK(setPropertyPeer)->Name("model_set_property/sqlite3")->Arg(10000)->UseRealTime();
BENCHMARK(fillOurs)->Name("model_fill/ours")->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(fillPeer)->Name("model_fill/sqlite3")->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    // While there is an application: Qt's drivers go with it.
    installations.clear();
    return 0;
}
