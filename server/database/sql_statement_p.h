#pragma once

#include <server/database/database.h>
#include <server/database/sql_connection_p.h>

/// How the database wants to be spoken to at this moment: it may be another one after its first change.
const SqlDialect& dialectOf(CDatabase* database);

/// One statement, prepared once a connection and given back when this goes out of scope, so that it never holds up
/// the database longer. The same text may be in use several times at once.
///
///     SqlStatement find(database, QStringLiteral("SELECT id FROM item WHERE kind=? AND label=?"));
///     for (find.bind(kind).bind(label).exec(); find.next();)
///         ids.append(find.integer(0));
class KYR_SERVER_TEST_EXPORT SqlStatement
{
public:
    SqlStatement(CDatabase* database, const QString& sql);
    ~SqlStatement();
    Q_DISABLE_COPY(SqlStatement)

    /// The value of the next place; an invalid one is NULL.
    SqlStatement& bind(const QVariant& value)
    {
        if (m_good)
            m_cursor->bind(value);
        return *this;
    }
    SqlStatement& bind(qint64 value) { return bind(QVariant(value)); }
    SqlStatement& bind(int value) { return bind(QVariant(value)); }
    /// Never NULL: a null text is the empty one.
    SqlStatement& bind(const QString& value) { return bind(QVariant(value.isNull() ? QStringLiteral("") : value)); }
    /// False when it failed; the database's errorString() says why.
    bool exec();
    bool next();
    /// Whether nothing has failed so far: false behind the last row tells that there would have been more.
    bool isGood() const { return m_good; }

    // Of the row that next() found.
    qint64 integer(int column) const { return m_cursor->integer(column); }
    QString text(int column) const { return m_cursor->text(column); }
    QByteArray bytes(int column) const { return m_cursor->bytes(column); }
    QVariant value(int column) const { return m_cursor->value(column); }
    bool isNull(int column) const { return m_cursor->isNull(column); }
    /// Rows that were changed.
    int changed() const { return m_good ? m_cursor->changed() : 0; }

private:
    CDatabase* m_database;
    QString m_sql;
    std::unique_ptr<SqlCursor> m_cursor;
    int m_connection = 0;
    bool m_good = false;
};
