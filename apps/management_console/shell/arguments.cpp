#include "shell/arguments.h"

#include <algorithm>

namespace {

qint64 idOf(const QVariant& item)
{
    return item.toMap().value(QStringLiteral("id")).toLongLong();
}

} // namespace

bool readKeyValues(const QStringList& words, QVector<KeyValue>& read, AppOptions& options)
{
    for (const QString& word : words) {
        const int separator = word.indexOf(QLatin1Char('='));
        if (separator <= 0) {
            options.setError(QStringLiteral("\"%1\" is not of the form KEY=VALUE").arg(word));
            return false;
        }
        const QString key = word.left(separator);
        for (const KeyValue& other : qAsConst(read)) {
            if (other.key == key) {
                options.setError(QStringLiteral("\"%1\" is given twice").arg(key));
                return false;
            }
        }
        read.append({key, word.mid(separator + 1)});
    }
    return true;
}

void ListOptions::add(AppOptions& options)
{
    options.addValue(QStringLiteral("filter"), QStringLiteral("KEY=VALUE"),
                     QStringLiteral("only those with this value; may be repeated, then all must match"));
    options.addValue(QStringLiteral("after"), QStringLiteral("ID"), QStringLiteral("only those with a higher id"));
    options.addValue(QStringLiteral("limit"), QStringLiteral("N"), QStringLiteral("not more than so many"));
}

bool ListOptions::read(AppOptions& options)
{
    if (options.isSet(QStringLiteral("limit")))
        m_limit = options.number(QStringLiteral("limit"), 1, 1000000000);
    if (options.isSet(QStringLiteral("after"))) {
        bool ok = false;
        m_after = options.value(QStringLiteral("after")).toLongLong(&ok);
        if (!ok || m_after < 0)
            options.setError(
                QStringLiteral("--after takes an id, not \"%1\"").arg(options.value(QStringLiteral("after"))));
    }
    return readKeyValues(options.values(QStringLiteral("filter")), m_filter, options) && options.error().isEmpty();
}

QVariantList ListOptions::select(const QVariantList& items, int& leftOut) const
{
    QVariantList found;
    for (const QVariant& item : items) {
        const QVariantMap properties = item.toMap();
        const auto differs = [&properties](const KeyValue& wanted) {
            return properties.value(wanted.key).toString() != wanted.value;
        };
        if (idOf(item) > m_after && std::none_of(m_filter.begin(), m_filter.end(), differs))
            found.append(item);
    }
    std::sort(found.begin(), found.end(), [](const QVariant& a, const QVariant& b) { return idOf(a) < idOf(b); });
    leftOut = m_limit > 0 ? qMax(0, int(found.size()) - m_limit) : 0;
    return found.mid(0, found.size() - leftOut);
}
