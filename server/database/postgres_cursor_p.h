#pragma once

#include <server/database/postgres_connection_p.h>

#include <QtCore/QVarLengthArray>

/// A statement that was prepared at a PostgreSQL server. Values go as texts, bytes as they are; rows come in the binary
/// form of their types, all of them with the answer.
class PostgresCursor : public SqlCursor
{
public:
    /// The connection outlives it. `name` is that of the statement at the server.
    PostgresCursor(PostgresConnection* connection, const QByteArray& name, const QString& location)
        : m_connection(connection)
        , m_name(name)
        , m_location(location)
    {
    }

    void bind(const QVariant& value) override;
    bool exec() override;
    bool next() override { return m_result && ++m_row < m_rows; }
    bool hasFailed() const override { return !m_result; }
    qint64 integer(int column) const override;
    QString text(int column) const override;
    QByteArray bytes(int column) const override;
    QVariant value(int column) const override;
    bool isNull(int column) const override;
    int changed() const override;
    void finish() override
    {
        m_values.clear();
        m_result.reset();
    }
    QString error() const override { return m_error; }

private:
    struct Value
    {
        QByteArray bytes;
        bool isNull = false;
        bool isBinary = false;
    };

    // As the server wrote it, without an end mark.
    QByteArray raw(int column) const;
    bool isNumber(int column, qint64* number) const;

    PostgresConnection* m_connection;
    QByteArray m_name;
    QString m_location;
    QString m_error;
    QVarLengthArray<Value, 16> m_values;
    PostgresConnection::Result m_result;
    int m_row = -1;
    int m_rows = 0;
};
