// The model over PostgreSQL, and libpq asking the same server the same in its simplest way: prepared statements, one
// after the other, every field of the answers read. Argument: users of the installation.
#include "model_work.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <libpq-fe.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// A server of its own for the time of the measurement.
class Cluster
{
public:
    Cluster()
    {
        run(QStringLiteral("start"));
        QFile where(file());
        if (!where.open(QIODevice::ReadOnly))
            throw std::runtime_error("no PostgreSQL server");
        url = QString::fromUtf8(where.readLine().trimmed());
    }
    ~Cluster() { run(QStringLiteral("stop")); }
    Q_DISABLE_COPY(Cluster)

    QString url;

private:
    QString file() const { return m_folder.filePath(QStringLiteral("postgresql.url")); }
    void run(const QString& what) const
    {
        QProcess::execute(QStringLiteral(KYR_SCRIPTS_DIR "/../tests/support/postgres_cluster"),
                          {what, file(), QStringLiteral("kyr")});
    }

    QTemporaryDir m_folder;
};

struct Installation
{
    explicit Installation(int users)
    {
        makeInstallation(model, cluster.url, users);
        connection = PQconnectdb(cluster.url.toUtf8().constData());
        if (PQstatus(connection) != CONNECTION_OK)
            throw std::runtime_error(PQerrorMessage(connection));
        PQclear(PQexec(connection, "ANALYZE"));
    }
    ~Installation() { PQfinish(connection); }
    Q_DISABLE_COPY(Installation)

    Cluster cluster;
    CSqlAccessControl model;
    PGconn* connection = nullptr;
};

std::unique_ptr<Installation> made;

// Of one size in a run.
Installation& installation(int users)
{
    if (!made)
        made = std::make_unique<Installation>(users);
    return *made;
}

class Statement
{
public:
    Statement(PGconn* connection, const char* sql)
        : m_connection(connection)
        , m_name("peer" + std::to_string(++s_count))
    {
        PQclear(PQprepare(connection, m_name.c_str(), sql, 0, nullptr));
    }

    // The first field of the first row.
    std::string run(const std::vector<std::string>& values) const
    {
        std::vector<const char*> places;
        for (const std::string& value : values)
            places.push_back(value.c_str());
        constexpr int asText = 0;
        PGresult* result =
            PQexecPrepared(m_connection, m_name.c_str(), int(places.size()), places.data(), nullptr, nullptr, asText);
        if (PQresultStatus(result) != PGRES_TUPLES_OK)
            throw std::runtime_error(PQerrorMessage(m_connection));
        std::string first;
        for (int row = 0; row < PQntuples(result); ++row) {
            for (int column = 0; column < PQnfields(result); ++column) {
                std::string field(PQgetvalue(result, row, column), size_t(PQgetlength(result, row, column)));
                benchmark::DoNotOptimize(field);
                if (row == 0 && column == 0)
                    first = std::move(field);
            }
        }
        PQclear(result);
        return first;
    }

private:
    static int s_count;
    PGconn* m_connection;
    std::string m_name;
};

int Statement::s_count = 0;

void userByFilterOurs(benchmark::State& state)
{
    const int users = int(state.range(0));
    findUsers(state, installation(users).model, users);
}

void userByFilterPeer(benchmark::State& state)
{
    const int users = int(state.range(0));
    PGconn* connection = installation(users).connection;
    const Statement find(
        connection, "SELECT w.item FROM property_value w JOIN item i ON i.id=w.item WHERE w.property=(SELECT id FROM "
                    "property WHERE kind=5 AND name=$1) AND w.value=$2 AND w.item>0 AND i.kind=5 AND i.class=1 ORDER "
                    "BY w.item LIMIT 1");
    const Statement item(connection, "SELECT id,class,label,parent FROM item WHERE id=$1");
    const Statement values(connection, "SELECT item,p.name,type,value,data FROM property_value v JOIN property p ON "
                                       "p.id=v.property WHERE item=$1");
    const Statement rights(connection, "SELECT * FROM access_right WHERE holder=$1 ORDER BY id");
    const Statement members(connection, "SELECT user_id FROM membership WHERE group_id=$1 ORDER BY position");
    int number = 0;
    for (auto _ : state) {
        number = nextUser(number, users);
        const std::string id = find.run({"Personnel Number", std::to_string(1 + number)});
        for (const Statement* statement : {&item, &values, &rights, &members})
            statement->run({id});
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
    const Statement statement(
        where.connection, "SELECT v.type,v.value,v.data,i.class FROM property_value v JOIN item i ON i.id=v.item WHERE "
                          "v.item=$1 AND v.property=(SELECT id FROM property WHERE kind=5 AND name=$2)");
    size_t i = 0;
    for (auto _ : state)
        statement.run({std::to_string(ids[(i += 31) % ids.size()].value()), "Email"});
}

} // namespace

BENCHMARK(userByFilterOurs)->Name("postgres_user_by_filter/ours")->Arg(10000)->UseRealTime();
BENCHMARK(userByFilterPeer)->Name("postgres_user_by_filter/libpq")->Arg(10000)->UseRealTime();
BENCHMARK(userPropertyOurs)->Name("postgres_property/ours")->Arg(10000)->UseRealTime();
BENCHMARK(userPropertyPeer)->Name("postgres_property/libpq")->Arg(10000)->UseRealTime();

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    made.reset();
    return 0;
}
