#pragma once

#include <server/database/sql_connection_p.h>

#include <unordered_map>

/// The prepared statements of a connection that nobody uses now, by their texts.
class IdleCursors
{
public:
    /// Null when there is none of that text.
    std::unique_ptr<SqlCursor> take(const QString& sql);
    /// False when there are too many: then all of them are gone. Texts that differ each time, as those with many
    /// filters, shall not pile up.
    bool give(const QString& sql, std::unique_ptr<SqlCursor> cursor);
    void clear() { m_cursors.clear(); }

private:
    struct TextHash
    {
        size_t operator()(const QString& text) const;
    };
    std::unordered_map<QString, std::unique_ptr<SqlCursor>, TextHash> m_cursors;
};
