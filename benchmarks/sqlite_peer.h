#pragma once

#include <QtCore/QtGlobal>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <stdexcept>
#include <string>

/// A connection of its own to a file, with the settings of ours. The caller's to close.
inline sqlite3* openPeer(const std::string& file)
{
    sqlite3* database = nullptr;
    if (sqlite3_open(file.c_str(), &database) != SQLITE_OK)
        throw std::runtime_error("sqlite3_open");
    sqlite3_exec(database, "PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON; PRAGMA cache_size=-16384", nullptr,
                 nullptr, nullptr);
    return database;
}

/// A prepared statement of sqlite3's own interface, as a program without Qt would use it.
class Statement
{
public:
    Statement(sqlite3* database, const char* sql)
    {
        if (sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(database));
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Q_DISABLE_COPY(Statement)

    void bind(int place, qint64 value) { sqlite3_bind_int64(m_statement, place, value); }
    void bind(int place, const std::string& value)
    {
        sqlite3_bind_text(m_statement, place, value.c_str(), int(value.size()), SQLITE_TRANSIENT);
    }
    void bindBytes(int place, const std::string& value)
    {
        sqlite3_bind_blob(m_statement, place, value.data(), int(value.size()), SQLITE_TRANSIENT);
    }
    int places() const { return sqlite3_bind_parameter_count(m_statement); }
    /// Reads all rows; the first column of the last one.
    qint64 run()
    {
        qint64 result = 0;
        int step = 0;
        while ((step = sqlite3_step(m_statement)) == SQLITE_ROW) {
            result = sqlite3_column_int64(m_statement, 0);
            for (int column = 0; column < sqlite3_column_count(m_statement); ++column) {
                const void* bytes = sqlite3_column_blob(m_statement, column);
                benchmark::DoNotOptimize(
                    std::string(static_cast<const char*>(bytes), size_t(sqlite3_column_bytes(m_statement, column))));
            }
        }
        if (step != SQLITE_DONE)
            throw std::runtime_error(sqlite3_errmsg(sqlite3_db_handle(m_statement)));
        sqlite3_reset(m_statement);
        return result;
    }

private:
    sqlite3_stmt* m_statement = nullptr;
};
