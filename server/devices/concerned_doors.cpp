#include <server/devices/concerned_doors_p.h>

#include <server/database/sql_statement_p.h>

bool addConcernedDoors(CDatabase* database, const QSet<qint64>& items, QSet<qint64>* doors)
{
    SqlStatement find(
        database,
        QStringLiteral("WITH holder(id) AS (SELECT ? UNION SELECT parent FROM item WHERE id=?) "
                       "SELECT access_point FROM access_right WHERE holder IN (SELECT id FROM holder) OR holder IN "
                       "(SELECT group_id FROM membership WHERE user_id IN (SELECT id FROM holder))"));
    for (const qint64 item : items) {
        for (find.bind(item).bind(item).exec(); find.next();)
            doors->insert(find.integer(0));
    }
    return find.isGood();
}
