#include <server/model/change_log_p.h>

#include <server/database/sql_statement_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QSet>

using namespace Model;

namespace {

// Of one kind in one transaction; more are told of as "many".
constexpr int mostNamedChanges = 1000;
// Changes that others may still want to hear of, and how often it is looked for older ones.
constexpr int keptChanges = 100000;
constexpr int changesBetweenLooks = 1000;

} // namespace

bool ChangeLog::write(const QString& server)
{
    if (m_noted.isEmpty())
        return true;
    SqlStatement statement(m_database,
                           QStringLiteral("INSERT INTO change(at,server,kind,item,what) VALUES(?,?,?,?,?)"));
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    QMap<int, int> counts;
    for (const ItemChange& change : qAsConst(m_noted))
        ++counts[change.kind];
    QSet<int> collective;
    int written = 0;
    bool good = true;
    for (const ItemChange& change : qAsConst(m_noted)) {
        const bool isNamed = counts.value(change.kind) <= mostNamedChanges;
        if (!isNamed && collective.contains(change.kind))
            continue;
        collective.insert(change.kind);
        ++written;
        good = good
               && statement.bind(now)
                      .bind(server)
                      .bind(int(change.kind))
                      .bind(isNamed ? change.id : qint64(0))
                      .bind(int(isNamed ? change.what : Changed))
                      .exec();
    }
    const qint64 number = good ? last() : 0;
    if (!good || number % changesBetweenLooks >= written)
        return good;
    SqlStatement old(m_database, QStringLiteral("DELETE FROM change WHERE seq<=?"));
    return old.bind(number - keptChanges).exec();
}

qint64 ChangeLog::last() const
{
    SqlStatement statement(m_database, QStringLiteral("SELECT max(seq) FROM change"));
    return statement.exec() && statement.next() ? statement.integer(0) : 0;
}

qint64 ChangeLog::first() const
{
    SqlStatement statement(m_database, QStringLiteral("SELECT min(seq) FROM change"));
    return statement.exec() && statement.next() ? statement.integer(0) : 0;
}

ChangeLog::News ChangeLog::takeNews()
{
    News news{{}, m_told};
    SqlStatement statement(m_database, QStringLiteral("SELECT seq,kind,item FROM change WHERE seq>? ORDER BY seq"));
    QHash<int, QSet<qint64>> told;
    QSet<int> many;
    QMap<int, QVariantList> named;
    bool isGap = false;
    for (statement.bind(m_told).exec(); statement.next();) {
        isGap = isGap || (news.seq == m_told && statement.integer(0) > m_told + 1);
        news.seq = statement.integer(0);
        const int kind = int(statement.integer(1));
        const qint64 item = statement.integer(2);
        if (item == 0)
            many.insert(kind);
        else if (told[kind].contains(item))
            continue;
        told[kind].insert(item);
        named[kind].append(QVariantMap{{idKey, item}});
    }
    for (auto entry = named.cbegin(); entry != named.cend(); ++entry)
        news.data.insert(nameOf(Kind(entry.key())),
                         many.contains(entry.key()) || entry->size() > mostNamedChanges ? QVariantList() : *entry);
    // Away for longer than changes are kept. A gap alone says nothing: changes that were undone leave gaps, too.
    if (isGap && first() > m_told + 1)
        news.data = everyCollection();
    m_told = news.seq;
    return news;
}
