#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUuid>
#include <QtTest/QtTest>

#include <libpq-fe.h>

#include <memory>

/// Where a test keeps its installations: files of a temporary folder, or databases of the PostgreSQL server that CTest
/// has started for all tests. All of it is gone with this.
class DatabasePlaces
{
public:
    ~DatabasePlaces()
    {
        // To empty one takes a tenth of the time that it takes to make one.
        for (const QString& name : qAsConst(m_databases)) {
            if (run("DROP SCHEMA public CASCADE;CREATE SCHEMA public", name))
                spare().append(name);
        }
    }
    static void removeAll()
    {
        for (const QString& name : qAsConst(spare()))
            run(QString("DROP DATABASE %1 WITH (FORCE)").arg(name));
    }

    /// What all tests of a run are made on: set by runOnAllDatabases().
    static bool& onPostgres()
    {
        static bool is = false;
        return is;
    }
    /// "postgresql://kyr@127.0.0.1:PORT/", or empty where there is no server.
    static QString server()
    {
        QFile file(QStringLiteral(KYR_BUILD_DIR "/postgresql.url"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readLine().trimmed()) : QString();
    }

    /// The same name is the same place.
    QString location(const QString& name)
    {
        if (!onPostgres())
            return folder.filePath(name);
        if (!m_databases.contains(name)) {
            const bool isMade = !spare().isEmpty();
            const QString database =
                isMade ? spare().takeLast() : QString("kyr_" + QUuid::createUuid().toString(QUuid::Id128));
            if (!isMade && !run(QString("CREATE DATABASE %1").arg(database)))
                qFatal("no database for the test");
            m_databases.insert(name, database);
        }
        return server() + m_databases.value(name);
    }

    QTemporaryDir folder;

private:
    static QStringList& spare()
    {
        static QStringList names;
        return names;
    }
    static bool run(const QString& sql, const QString& database = "postgres")
    {
        const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(PQconnectdb(qPrintable(server() + database)),
                                                                      &PQfinish);
        PQsetNoticeReceiver(
            connection.get(), [](void*, const PGresult*) {}, nullptr);
        const std::unique_ptr<PGresult, decltype(&PQclear)> result(PQexec(connection.get(), qPrintable(sql)), &PQclear);
        return PQresultStatus(result.get()) == PGRES_COMMAND_OK;
    }

    QHash<QString, QString> m_databases;
};

/// All tests of a class with SQLite, then with PostgreSQL, where it is there.
template<typename Test>
int runOnAllDatabases(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // Keys that stand beside a database on a server.
    QTemporaryDir data;
    qputenv("XDG_DATA_HOME", data.path().toLocal8Bit());
    int failed = 0;
    for (const bool isPostgres : {false, true}) {
        if (isPostgres && DatabasePlaces::server().isEmpty()) {
            std::puts(
                "SKIP   : PostgreSQL was not started for the tests (tests/support/postgres_cluster): only SQLite");
            break;
        }
        std::printf("--- on %s\n", isPostgres ? "PostgreSQL" : "SQLite");
        std::fflush(stdout);
        DatabasePlaces::onPostgres() = isPostgres;
        Test test;
        failed += QTest::qExec(&test, argc, argv);
    }
    DatabasePlaces::removeAll();
    return failed;
}
