#include <server/database/sql_statement_p.h>

#include <utility>

SqlStatement::SqlStatement(CDatabase* database, const QString& sql)
    : m_database(database)
    , m_sql(sql)
{
    // Not among the members' initializers: the number that it writes has one of its own.
    m_cursor = database->takeCursor(sql, &m_connection);
    m_good = m_cursor != nullptr;
}

SqlStatement::~SqlStatement()
{
    if (m_cursor)
        m_cursor->finish();
    m_database->giveCursor(m_sql, m_good ? std::move(m_cursor) : nullptr, m_connection);
}

bool SqlStatement::exec()
{
    m_good = m_good && m_cursor->exec();
    if (!m_good)
        m_database->failed(m_cursor.get());
    return m_good;
}

bool SqlStatement::next()
{
    if (!m_good)
        return false;
    if (m_cursor->next())
        return true;
    if (m_cursor->hasFailed()) {
        m_good = false;
        m_database->failed(m_cursor.get());
    }
    return false;
}
