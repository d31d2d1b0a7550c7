#include <server/database/sql_statement_p.h>

#include <QtSql/QSqlError>

SqlStatement::SqlStatement(CDatabase* database, const QString& sql)
    : m_database(database)
    , m_sql(sql)
    , m_query(database->takeQuery(sql, &m_good))
{
}

SqlStatement::~SqlStatement()
{
    m_query.finish();
    m_database->giveQuery(m_sql, std::move(m_query), m_good);
}

SqlStatement& SqlStatement::bind(const QVariant& value)
{
    m_query.bindValue(m_place++, value);
    return *this;
}

bool SqlStatement::exec()
{
    m_place = 0;
    m_good = m_good && m_query.exec();
    if (!m_good)
        m_database->failed(m_query);
    return m_good;
}

bool SqlStatement::next()
{
    if (!m_good)
        return false;
    if (m_query.next())
        return true;
    // The end of the rows, unless the disk said otherwise.
    if (m_query.lastError().isValid()) {
        m_good = false;
        m_database->failed(m_query);
    }
    return false;
}
