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
                options.setError(QStringLiteral("\"%1\" is given more than once").arg(key));
                return false;
            }
        }
        read.append({key, word.mid(separator + 1)});
    }
    return true;
}

void TableOptions::add(AppOptions& options)
{
    options.addValue(QStringLiteral("columns"), QStringLiteral("A,B,..."),
                     QStringLiteral("show only these columns, in this order; by title or JSON key"));
    options.addValue(QStringLiteral("sort"), QStringLiteral("COLUMN"),
                     QStringLiteral("sort the rows by this column; -COLUMN: in descending order"));
    options.addValue(QStringLiteral("csv"), QStringLiteral("FILE"),
                     QStringLiteral("write the table to a CSV file, or to standard output (-)"));
    options.addSwitch(QStringLiteral("csv-guard"),
                      QStringLiteral("put an apostrophe before texts that a spreadsheet would take for formulas"));
}

void TableOptions::read(AppOptions& options)
{
    const auto has = [&options](const char* name) {
        const auto& all = options.options();
        return std::any_of(all.begin(), all.end(),
                           [name](const AppOptions::Option& option) { return option.name == QLatin1String(name); })
               && options.isSet(QLatin1String(name));
    };
    if (has("columns")) {
        const QStringList names = options.value(QStringLiteral("columns")).split(QLatin1Char(','));
        for (const QString& name : names)
            m_columns.append(name.trimmed());
    }
    if (has("sort")) {
        m_sort = options.value(QStringLiteral("sort"));
        m_descending = m_sort.startsWith(QLatin1Char('-'));
        if (m_descending)
            m_sort.remove(0, 1);
    }
    if (has("csv"))
        m_csvFile = options.value(QStringLiteral("csv"));
    m_isCsvGuarded = has("csv-guard");
}

bool TableOptions::apply(Table& table, QString& mistake) const
{
    const auto find = [&](const QString& name) {
        const int column = table.column(name);
        if (column < 0)
            mistake = QStringLiteral("there is no column \"%1\"; the columns are %2")
                          .arg(name, table.columnNames().join(QLatin1String(", ")));
        return column;
    };
    if (!m_sort.isEmpty()) {
        const int column = find(m_sort);
        if (column < 0)
            return false;
        table.sort(column, m_descending);
    }
    QVector<int> chosen;
    for (const QString& name : m_columns) {
        chosen.append(find(name));
        if (chosen.constLast() < 0)
            return false;
    }
    if (!chosen.isEmpty())
        table.select(chosen);
    return true;
}

void ListOptions::add(AppOptions& options)
{
    TableOptions::add(options);
    options.addValue(QStringLiteral("filter"), QStringLiteral("KEY=VALUE"),
                     QStringLiteral("only rows with this value; may be repeated: all must match"));
    options.addValue(QStringLiteral("after"), QStringLiteral("ID"), QStringLiteral("only rows with a higher id"));
    options.addValue(QStringLiteral("limit"), QStringLiteral("N"), QStringLiteral("show at most N rows"));
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
