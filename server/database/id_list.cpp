#include <server/database/id_list_p.h>

IdList::IdList(CDatabase* database, const QList<qint64>& ids, int from, int count)
{
    const int end = count < 0 ? int(ids.size()) : qMin(int(ids.size()), from + count);
    if (end - from == 1) {
        m_sql = QStringLiteral("(?)");
        m_value = ids[from];
        return;
    }
    QString text = QStringLiteral("[");
    for (int i = from; i < end; ++i) {
        if (i > from)
            text += QLatin1Char(',');
        text += QString::number(ids[i]);
    }
    m_sql = dialectOf(database).idList;
    m_value = QString(text + QLatin1Char(']'));
}
