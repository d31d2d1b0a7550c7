#include "commands/model_command.h"

#include <foundation/core/canonical_text.h>
#include <server/model/sql_access_control.h>

#include <algorithm>

namespace {

// Relations have commands of their own: media give, doors assign.
constexpr const char* relations[] = {"id",         "class",   "userId",       "accessPointId",
                                     "calendarId", "Members", "Access Points"};

// Between two looks whether doors have taken a change, and of one look at most.
constexpr int lookMs = 50;
constexpr int compilingMs = 20;

bool isAllZero(const QVariantMap& counts)
{
    return std::all_of(counts.begin(), counts.end(), [](const QVariant& count) { return count.toLongLong() == 0; });
}

} // namespace

QStringList firstSteps()
{
    return {QStringLiteral("  users add \"Anna Berger\" Department=IT"),
            QStringLiteral("  media add 04:A1:22:3B --user \"Anna Berger\""),
            QStringLiteral("  doors add \"Main Entrance\""),
            QStringLiteral("  schedules add \"Office hours\" \"Mon-Fri 07:00-19:00\""),
            QStringLiteral("  grant \"Anna Berger\" \"Main Entrance\" --schedule \"Office hours\"")};
}

QVariant shownValue(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QDateTime:
        return isoTime(value.toDateTime());
    case QMetaType::QDate:
        return value.toDate().toString(Qt::ISODate);
    case QMetaType::LongLong:
        return QString::number(value.toLongLong());
    case QMetaType::Bool:
    case QMetaType::QStringList:
    case QMetaType::QString:
        return value;
    case QMetaType::QVariantList: {
        QStringList texts;
        const QVariantList values = value.toList();
        for (const QVariant& element : values)
            texts.append(canonicalText(element));
        return texts;
    }
    case QMetaType::QVariantMap: {
        QVariantMap map = value.toMap();
        for (QVariant& element : map)
            element = shownValue(element);
        return map;
    }
    default:
        return canonicalText(value);
    }
}

bool ModelCommand::find(Named kind, const QString& name, CItemId& id, int unknownCode)
{
    QList<CItemId> ids;
    if (!findAll(kind, {name}, ids, unknownCode))
        return false;
    id = ids.first();
    return true;
}

bool ModelCommand::findAll(Named kind, const QStringList& names, QList<CItemId>& ids, int unknownCode)
{
    CSqlAccessControl* installation = model();
    if (!installation)
        return false;
    const qint64 failures = installation->database()->failures();
    ItemNames itemNames(installation);
    if (itemNames.findAll(kind, names, ids))
        return true;
    if (installation->database()->failures() != failures) {
        fail(installation->database()->errorString());
        return false;
    }
    warn(itemNames.error());
    done(itemNames.isAmbiguous() ? 2 : unknownCode);
    return false;
}

bool ModelCommand::readProperties(const QStringList& words, QVariantMap& properties, AppOptions& options)
{
    QVector<KeyValue> values;
    if (!readKeyValues(words, values, options))
        return false;
    for (const KeyValue& value : qAsConst(values)) {
        const auto isMeant = [&](const char* relation) { return value.key == QLatin1String(relation); };
        if (std::any_of(std::begin(relations), std::end(relations), isMeant)) {
            options.setError(QStringLiteral("\"%1\" cannot be set").arg(value.key));
            return false;
        }
        if (properties.contains(value.key)) {
            options.setError(QStringLiteral("\"%1\" is given more than once").arg(value.key));
            return false;
        }
        properties.insert(value.key, value.value.isEmpty() ? QVariant() : QVariant(value.value));
    }
    return true;
}

bool ModelCommand::readQuery(AppOptions& options, CModelReader::Query& query)
{
    ListOptions wanted;
    if (!wanted.read(options))
        return false;
    for (const KeyValue& value : wanted.filter())
        query.filter.insert(value.key, value.value);
    query.after = wanted.after();
    query.limit = wanted.limit() > 0 ? wanted.limit() : -1;
    return true;
}

bool ModelCommand::read(const Read& reading, CModelReader::Page& page)
{
    CSqlAccessControl* installation = model();
    if (!installation)
        return false;
    const qint64 failures = installation->database()->failures();
    page = reading(CModelReader(installation));
    if (installation->database()->failures() == failures)
        return true;
    fail(installation->database()->errorString());
    return false;
}

void ModelCommand::tellLeftOut(const CModelReader::Page& page)
{
    if (page.left > 0)
        warn(QStringLiteral("%1 more are left out (--after %2 shows them)")
                 .arg(page.left)
                 .arg(page.rows.constLast().value(QStringLiteral("id")).toLongLong()));
}

bool ModelCommand::sortRows(const Table& table, QList<QVariantMap>& rows, QString& mistake) const
{
    Table copy = table;
    if (!tableOptions().apply(copy, mistake))
        return false;
    if (tableOptions().sortColumn().isEmpty())
        return true;
    const QString key = table.key(table.column(tableOptions().sortColumn()));
    const bool isDescending = tableOptions().isDescending();
    std::stable_sort(rows.begin(), rows.end(), [&](const QVariantMap& a, const QVariantMap& b) {
        const QVariant first = shownValue(a.value(key));
        const QVariant second = shownValue(b.value(key));
        return isDescending ? isBefore(second, first) : isBefore(first, second);
    });
    return true;
}

void ModelCommand::show(Table table, const CModelReader::Page& page)
{
    const CSqlAccessControl* installation = model();
    if (page.rows.isEmpty() && !isJson() && isAllZero(CModelReader(installation).counts())) {
        output().line(
            QStringLiteral("The installation in %1 is empty. To begin:").arg(installation->database()->location()));
        output().lines(firstSteps());
        output().line(QStringLiteral("A demonstration to look at: kyr_console --database memory users"));
        return done();
    }
    for (const QVariantMap& row : page.rows) {
        QVariantList cells;
        for (int column = 0; column < table.columnCount(); ++column)
            cells.append(shownValue(row.value(table.key(column))));
        table.addRow(cells);
    }
    print(table);
    tellLeftOut(page);
    done();
}

void ModelCommand::change(const std::function<bool(CSqlAccessControl& model)>& work, const QStringList* result)
{
    CSqlAccessControl* installation = model();
    if (!installation)
        return;
    if (!installation->changeAll([&] { return work(*installation); })) {
        if (isHeldUp())
            return;
        return fail(installation->errorString());
    }
    if (result)
        output().lines(*result);
    if (!m_lag)
        return done();
    m_sinceChange.start();
    connect(&m_lookTimer, &QTimer::timeout, this, &ModelCommand::lookAtDoors);
    m_lookTimer.start(0);
}

bool ModelCommand::isHeldUp()
{
    CSqlAccessControl* installation = model();
    return installation && installation->database()->isHeld() && isTriedAgain();
}

void ModelCommand::watchDoors(const QList<CItemId>& items)
{
    CSqlAccessControl* installation = model();
    // What is in memory no other program serves.
    if (!installation || (installation->database()->backend() == QLatin1String("memory") && !session().doors()))
        return;
    if (!m_lag)
        m_lag = std::make_unique<CDoorLag>(installation);
    m_lag->watch(items);
}

void ModelCommand::lookAtDoors()
{
    const bool isOver = m_sinceChange.hasExpired(takingMs);
    const bool isWhole = m_lag->refresh(compilingMs);
    if (isWhole && m_lag->doors().isEmpty()) {
        m_lookTimer.stop();
        return done();
    }
    if (!isWhole)
        return m_lookTimer.start(0);
    if (!isOver)
        return m_lookTimer.start(lookMs);
    if (!m_isLastLook) {
        // Somebody may have changed more meanwhile, and the doors gone by that.
        m_isLastLook = true;
        m_lag->restart();
        return m_lookTimer.start(0);
    }
    m_lookTimer.stop();
    nameDoorsBehind();
}

void ModelCommand::nameDoorsBehind()
{
    for (const CDoorLag::Door& door : m_lag->doors())
        warn(QStringLiteral("door \"%1\" (%2) has not taken the change: device %3 %4")
                 .arg(door.label)
                 .arg(door.id.value())
                 .arg(door.device.toLabel(),
                      door.isKnown ? QStringLiteral("still uses its old list") : QStringLiteral("was never linked")));
    done();
}

void ModelCommand::cancel()
{
    if (!m_lookTimer.isActive())
        return Command::cancel();
    m_lookTimer.stop();
    nameDoorsBehind();
}
