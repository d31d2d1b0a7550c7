#include <server/database/idle_cursors_p.h>

#include <QtCore/QHash>

#include <utility>

namespace {

// More statements than the system has; each takes some kilobytes.
constexpr size_t mostIdleCursors = 256;

} // namespace

// Of what stands at the end, where statements differ: it is asked for twice each time one is used.
size_t IdleCursors::TextHash::operator()(const QString& text) const
{
    return qHash(QStringView(text).mid(qMax(0, int(text.size()) - 32)), uint(text.size()));
}

std::unique_ptr<SqlCursor> IdleCursors::take(const QString& sql)
{
    const auto known = m_cursors.find(sql);
    if (known == m_cursors.end())
        return nullptr;
    std::unique_ptr<SqlCursor> cursor = std::move(known->second);
    m_cursors.erase(known);
    return cursor;
}

bool IdleCursors::give(const QString& sql, std::unique_ptr<SqlCursor> cursor)
{
    if (m_cursors.size() >= mostIdleCursors) {
        m_cursors.clear();
        return false;
    }
    m_cursors.insert_or_assign(sql, std::move(cursor));
    return true;
}
