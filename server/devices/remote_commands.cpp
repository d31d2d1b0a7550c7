#include <server/devices/remote_commands_p.h>

#include <foundation/core/json_text.h>
#include <server/database/id_list_p.h>
#include <server/database/sql_statement_p.h>

#include <QtCore/QJsonDocument>

namespace {

enum CommandState
{
    Waiting,
    Taken,
    Answered,
    Expired
};

// In milliseconds: what an answer may take on its way back, and how long rows are kept behind their end.
constexpr int graceMs = 1000;
constexpr int keptMs = 60000;

QString toText(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QJsonObject toObject(const QString& text)
{
    return CJsonText::read(text.toUtf8()).object();
}

} // namespace

RemoteCommands::RemoteCommands(CDatabase* database, const QString& holder, QObject* context)
    : m_database(database)
    , m_holder(holder)
    , m_context(context)
{
}

bool RemoteCommands::isDatabaseFree() const
{
    return m_database->depth() == 0 && m_database->exists();
}

// Also one from a time that is still to come: the database's clock was set back, and it could wait there for hours.
QString RemoteCommands::isLate() const
{
    return QStringLiteral("(expires<=%1 OR made>%1)").arg(dialectOf(m_database).now);
}

// --- Asking

bool RemoteCommands::ask(CDeviceId device, const QString& kind, const QJsonObject& body, const QString& operatorName,
                         const Answer& answer)
{
    bool good = m_database->begin();
    qint64 id = 0;
    if (good) {
        SqlStatement add(m_database,
                         QStringLiteral("INSERT INTO device_command(device,kind,operator,made,expires,state,"
                                        "body,error,answer) VALUES(?,?,?,%1,%1+%2,0,?,'','') RETURNING id")
                             .arg(dialectOf(m_database).now)
                             .arg(CRemoteDevices::commandLife));
        good = add.bind(qint64(device.value())).bind(kind).bind(operatorName).bind(toText(body)).exec() && add.next();
        id = good ? add.integer(0) : 0;
    }
    if (!m_database->end(good)) {
        reply(answer, m_database->errorString());
        return false;
    }
    Asked& asked = m_asked[id];
    asked.device = device;
    asked.answer = answer;
    asked.age.start();
    return true;
}

void RemoteCommands::reply(const Answer& answer, const QString& error, const QJsonObject& result)
{
    if (answer)
        QMetaObject::invokeMethod(
            m_context, [answer, error, result] { answer(error, result); }, Qt::QueuedConnection);
}

void RemoteCommands::takeAnswers()
{
    if (m_asked.isEmpty())
        return;
    {
        const IdList ids(m_database, m_asked.keys());
        SqlStatement find(m_database,
                          QStringLiteral("SELECT id,error,answer FROM device_command WHERE state=%1 AND id IN %2")
                              .arg(QString::number(Answered), ids.sql()));
        for (find.bind(ids.value()).exec(); find.next();)
            reply(m_asked.take(find.integer(0)).answer, find.text(1), toObject(find.text(2)));
    }
    giveUp();
}

// Whoever asked hears that it was not done: it must not be done later either, whatever happens to the clock.
void RemoteCommands::giveUp()
{
    QList<qint64> late;
    for (auto entry = m_asked.begin(); entry != m_asked.end();) {
        if (entry->age.elapsed() < CRemoteDevices::commandLife + graceMs / 2) {
            ++entry;
            continue;
        }
        late.append(entry.key());
        reply(entry->answer, QStringLiteral("device %1 did not answer").arg(entry->device.toLabel()));
        entry = m_asked.erase(entry);
    }
    if (late.isEmpty())
        return;
    int changed = 0;
    bool good = m_database->begin();
    if (good) {
        const IdList ids(m_database, late);
        SqlStatement expire(m_database, QStringLiteral("UPDATE device_command SET state=%1 WHERE state=%2 AND id IN %3")
                                            .arg(QString::number(Expired), QString::number(Waiting), ids.sql()));
        good = expire.bind(ids.value()).exec();
        changed = expire.changed();
    }
    if (m_database->end(good))
        m_expired += changed;
}

// --- Answering

QList<RemoteCommands::Order> RemoteCommands::take(bool* isBusy)
{
    *isBusy = false;
    QList<Order> orders;
    {
        SqlStatement find(
            m_database,
            QStringLiteral("SELECT c.id,c.device,c.kind,c.operator,c.body FROM device_command c JOIN device_link "
                           "l ON l.device=c.device WHERE l.holder=? AND c.state=%1 AND NOT %2 ORDER BY c.id")
                .arg(QString::number(Waiting), isLate()));
        for (find.bind(m_holder).exec(); find.next();)
            orders.append({find.integer(0), CDeviceId(quint32(find.integer(1))), find.text(2), find.text(3),
                           toObject(find.text(4))});
    }
    if (orders.isEmpty())
        return {};
    // Once it is stored that it was taken nobody takes it again, whatever happens to this server. The time may have
    // come while this waited for the database.
    QList<Order> taken;
    QList<qint64> others;
    bool good = m_database->begin();
    for (const Order& order : qAsConst(orders)) {
        if (!good)
            break;
        SqlStatement take(m_database,
                          QStringLiteral("UPDATE device_command SET state=%1 WHERE id=? AND state=%2 AND NOT %3")
                              .arg(QString::number(Taken), QString::number(Waiting), isLate()));
        good = take.bind(order.id).exec();
        if (take.changed() > 0)
            taken.append(order);
        else
            others.append(order.id);
    }
    qint64 known = 0;
    if (good && !others.isEmpty()) {
        const IdList list(m_database, others);
        SqlStatement count(m_database,
                           QStringLiteral("SELECT count(*) FROM device_command WHERE state<>%1 AND id IN %2")
                               .arg(QString::number(Waiting), list.sql()));
        known = count.bind(list.value()).exec() && count.next() ? count.integer(0) : 0;
    }
    *isBusy = !m_database->end(good);
    if (*isBusy)
        return {};
    m_repeated += known;
    return taken;
}

void RemoteCommands::finish(qint64 id, const QString& error, const QJsonObject& result)
{
    m_unstored.insert(id, {error, result});
    storeAnswers();
}

void RemoteCommands::storeAnswers()
{
    if (m_unstored.isEmpty() || !isDatabaseFree())
        return;
    bool good = m_database->begin();
    for (auto entry = m_unstored.cbegin(); good && entry != m_unstored.cend(); ++entry) {
        SqlStatement store(m_database,
                           QStringLiteral("UPDATE device_command SET state=%1,error=?,answer=? WHERE id=? AND state=%2")
                               .arg(Answered)
                               .arg(Taken));
        good = store.bind(entry->error).bind(toText(entry->result)).bind(entry.key()).exec();
    }
    if (m_database->end(good))
        m_unstored.clear();
}

bool RemoteCommands::expire(int* expired)
{
    SqlStatement late(m_database, QStringLiteral("UPDATE device_command SET state=%1 WHERE state=%2 AND %3 AND device "
                                                 "IN (SELECT device FROM device_link WHERE holder=?)")
                                      .arg(QString::number(Expired), QString::number(Waiting), isLate()));
    if (!late.bind(m_holder).exec())
        return false;
    *expired = late.changed();
    return SqlStatement(m_database, QStringLiteral("DELETE FROM device_command WHERE expires<%1-%2")
                                        .arg(dialectOf(m_database).now)
                                        .arg(keptMs))
        .exec();
}
