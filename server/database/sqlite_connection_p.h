#pragma once

#include <server/database/sql_connection_p.h>

#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <map>

class QSqlError;

/// SQLite through Qt Sql: a file, or ":memory:".
class SqliteConnection : public SqlConnection
{
public:
    /// `location` is what a person calls it. Null with a reason when it cannot be opened.
    static std::unique_ptr<SqliteConnection> open(const QString& name, const QString& location, QString* error);
    ~SqliteConnection() override;

    const SqlDialect& dialect() const override { return SqlDialect::sqlite(); }
    std::unique_ptr<SqlCursor> prepare(const QString& sql) override;
    bool beginWrite(bool isPatient) override;
    bool run(const QString& sql) override;
    QString error() const override { return m_error; }
    bool isHeld() const override { return m_isHeld; }
    void setWriteWait(int milliseconds) override;
    int version() override;
    bool setVersion(int version) override;
    QStringList check() override;
    bool copyTo(const QString& file) override;

    /// Changes when another program has stored something.
    qint64 dataVersion();
    /// Whether the tables can be read at all.
    bool isReadable();

    /// What went wrong, in one line for a person.
    static QString explain(const QString& location, const QSqlError& error);

private:
    SqliteConnection() = default;
    qint64 number(const QString& sql, qint64 otherwise);

    QSqlDatabase m_connection;
    std::map<QString, QSqlQuery> m_kept; ///< prepared, by their text
    QString m_location;
    QString m_error;
    bool m_isHeld = false;
    int m_writeWait = 0; ///< milliseconds
};
