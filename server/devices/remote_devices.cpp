#include <server/devices/remote_devices.h>

#include <foundation/core/json_text.h>
#include <foundation/core/random.h>
#include <server/database/id_list_p.h>
#include <server/database/sql_statement_p.h>
#include <server/devices/device_links.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTimer>

#include <utility>

namespace {

enum CommandState
{
    Waiting,
    Taken,
    Answered,
    Expired
};

constexpr int lookDelayMs = 10;  // what comes together is looked at together
constexpr int flushDelayMs = 20; // links that come together are noted together
constexpr int retryMs = 250;
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

class CRemoteDevices::Private
{
public:
    struct Own
    {
        QElapsedTimer age;
        QJsonObject details;
        bool isNoted = false;
    };
    struct Asked
    {
        CDeviceId device;
        Answer answer;
        QElapsedTimer age;
    };
    struct Order
    {
        qint64 id;
        CDeviceId device;
        QString kind;
        QString operatorName;
        QJsonObject body;
    };

    Private(CRemoteDevices* remote, CDatabase* inDatabase)
        : q(remote)
        , database(inDatabase)
        , holder(QString::fromLatin1(CRandom::getArray(8).toHex()))
    {
    }

    /// Not within somebody's transaction, and not for making a database.
    bool isFree() const { return database->depth() == 0 && database->exists(); }
    QString now() const { return dialectOf(database).now; }
    void lookLater(int milliseconds) { lookTimer.start(milliseconds); }
    /// Of a holder h.
    QString isAlive() const { return QStringLiteral("h.at BETWEEN %1-%2 AND %1+%2").arg(now()).arg(longestSilence); }
    bool run(const QString& sql, const QVariantList& values, int* changed = nullptr);
    bool noteLinks();
    void flush();
    void beat();
    void look();
    void takeCommands();
    void takeAnswers();
    void giveUp();
    void findMoved();
    void findUnlisted();
    QString isLate() const;
    void execute(const Order& order);
    void finish(qint64 id, const QString& error, const QJsonObject& result);
    void storeAnswers();
    void reply(const Answer& answer, const QString& error, const QJsonObject& result = {});
    void come(CDeviceId device);
    void leave(CDeviceId device);

    CRemoteDevices* q;
    CDatabase* database;
    QString holder;
    QString server;
    bool isOnly = false;
    bool hasBeaten = false;
    IDeviceLinks* links = nullptr;
    Work work;
    QMap<quint32, Own> own;
    QSet<quint32> gone;
    QMap<qint64, Asked> asked;
    QMap<qint64, std::pair<QString, QJsonObject>> unstored;
    QTimer flushTimer;
    QTimer lookTimer;
    QTimer beatTimer;
    QTimer patience;
    qint64 expired = 0;
    qint64 repeated = 0;
};

CRemoteDevices::CRemoteDevices(CDatabase* database, QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this, database))
{
    for (QTimer* timer : {&d->flushTimer, &d->lookTimer})
        timer->setSingleShot(true);
    d->beatTimer.setInterval(beatInterval);
    d->patience.setInterval(retryMs);
    connect(&d->flushTimer, &QTimer::timeout, this, [this] { d->flush(); });
    connect(&d->lookTimer, &QTimer::timeout, this, [this] { d->look(); });
    connect(&d->beatTimer, &QTimer::timeout, this, [this] { d->beat(); });
    connect(&d->patience, &QTimer::timeout, this, [this] { d->look(); });
    connect(database, &CDatabase::changedByOthers, this, [this] {
        // Also what was told before the database was away, or was not there yet.
        if (!d->lookTimer.isActive() && (d->links || !d->asked.isEmpty()))
            d->lookLater(lookDelayMs);
    });
    connect(database, &CDatabase::awayChanged, this, [this](bool isAway) {
        if (!isAway)
            d->beat();
    });
}

CRemoteDevices::~CRemoteDevices()
{
    if (!d->hasBeaten || !d->isFree())
        return;
    const bool good = d->database->begin();
    d->database->end(good && d->run(QStringLiteral("DELETE FROM device_holder WHERE holder=?"), {d->holder}));
}

bool CRemoteDevices::Private::run(const QString& sql, const QVariantList& values, int* changed)
{
    SqlStatement statement(database, sql);
    for (const QVariant& value : values)
        statement.bind(value);
    const bool good = statement.exec();
    if (changed)
        *changed = statement.changed();
    return good;
}

// --- Links

void CRemoteDevices::serve(IDeviceLinks* links, const QString& server, bool isOnly, const Work& work)
{
    d->links = links;
    d->server = server;
    d->isOnly = isOnly;
    d->work = work;
    connect(links, &IDeviceLinks::deviceCame, this, [this](CDeviceId device) { d->come(device); });
    connect(links, &IDeviceLinks::deviceLeft, this, [this](CDeviceId device) { d->leave(device); });
    const QList<CDeviceId> linked = links->linkedDevices();
    for (const CDeviceId device : linked)
        d->come(device);
    d->beatTimer.start();
    d->beat();
}

QString CRemoteDevices::server() const
{
    return d->server;
}

void CRemoteDevices::Private::come(CDeviceId device)
{
    Own& link = own[device.value()];
    link.age.start();
    link.isNoted = false;
    gone.remove(device.value());
    if (!flushTimer.isActive())
        flushTimer.start(flushDelayMs);
}

void CRemoteDevices::Private::leave(CDeviceId device)
{
    own.remove(device.value());
    gone.insert(device.value());
    if (!flushTimer.isActive())
        flushTimer.start(flushDelayMs);
}

void CRemoteDevices::describe(CDeviceId device, const QJsonObject& details)
{
    const auto link = d->own.find(device.value());
    if (link == d->own.end() || link->details == details)
        return;
    link->details = details;
    link->isNoted = false;
    if (!d->flushTimer.isActive())
        d->flushTimer.start(flushDelayMs);
}

// Of two servers that note a device the one with the younger link wins, whoever writes last.
bool CRemoteDevices::Private::noteLinks()
{
    bool good = true;
    for (auto link = own.begin(); good && link != own.end(); ++link) {
        if (link->isNoted)
            continue;
        good = run(QStringLiteral("INSERT INTO device_link(device,holder,since,details) VALUES(?,?,%1-?,?) ON "
                                  "CONFLICT(device) DO UPDATE SET holder=excluded.holder,since=excluded.since,"
                                  "details=excluded.details WHERE device_link.holder=excluded.holder OR "
                                  "excluded.since>=device_link.since")
                       .arg(now()),
                   {qint64(link.key()), holder, link->age.elapsed(), toText(link->details)});
    }
    for (auto device = gone.cbegin(); good && device != gone.cend(); ++device)
        good = run(QStringLiteral("DELETE FROM device_link WHERE device=? AND holder=?"), {qint64(*device), holder});
    return good;
}

void CRemoteDevices::Private::flush()
{
    if (!hasBeaten)
        return;
    bool good = isFree() && database->begin();
    if (good || database->depth() > 0)
        good = database->end(good && noteLinks());
    if (!good)
        return flushTimer.start(retryMs);
    gone.clear();
    for (Own& link : own)
        link.isNoted = true;
    look();
}

// The beginning, too, and what is to be done again when others took this server for dead.
void CRemoteDevices::Private::beat()
{
    if (!links || !isFree())
        return;
    bool good = database->begin();
    if (!hasBeaten && isOnly)
        good = good && run(QStringLiteral("DELETE FROM device_holder WHERE server=?"), {server});
    int changed = 0;
    good = good && run(QStringLiteral("UPDATE device_holder SET at=%1 WHERE holder=?").arg(now()), {holder}, &changed);
    const bool isNew = changed == 0;
    if (isNew)
        good = good
               && run(QStringLiteral("INSERT INTO device_holder(holder,server,at) VALUES(?,?,%1)").arg(now()),
                      {holder, server});
    int late = 0;
    good = good && run(QStringLiteral("DELETE FROM device_holder WHERE at<%1-%2").arg(now()).arg(keptMs), {})
           && run(QStringLiteral("UPDATE device_command SET state=%1 WHERE state=%2 AND %3 AND device IN (SELECT "
                                 "device FROM device_link WHERE holder=?)")
                      .arg(QString::number(Expired), QString::number(Waiting), isLate()),
                  {holder}, &late)
           && run(QStringLiteral("DELETE FROM device_command WHERE expires<%1-%2").arg(now()).arg(keptMs), {});
    if (!database->end(good))
        return;
    hasBeaten = true;
    expired += late;
    if (!isNew)
        return findUnlisted();
    for (Own& link : own)
        link.isNoted = false;
    flush();
}

// A link that another server has noted as the newer one, and that ended before this one had heard of it, took the row
// with it.
void CRemoteDevices::Private::findUnlisted()
{
    {
        SqlStatement count(database, QStringLiteral("SELECT count(*) FROM device_link WHERE holder=?"));
        if (!count.bind(holder).exec() || !count.next() || count.integer(0) >= own.size())
            return;
    }
    QSet<quint32> listed;
    {
        SqlStatement find(database, QStringLiteral("SELECT device FROM device_link WHERE holder=?"));
        if (!find.bind(holder).exec())
            return;
        while (find.next())
            listed.insert(quint32(find.integer(0)));
    }
    bool isComplete = true;
    for (auto link = own.begin(); link != own.end(); ++link) {
        link->isNoted &= listed.contains(link.key());
        isComplete &= link->isNoted;
    }
    if (!isComplete && !flushTimer.isActive())
        flushTimer.start(flushDelayMs);
}

QList<CRemoteDevices::Link> CRemoteDevices::links()
{
    QList<Link> result;
    if (!d->database->exists())
        return result;
    SqlStatement find(d->database,
                      QStringLiteral("SELECT l.device,h.server,l.holder,l.since,l.details,s.at FROM device_link l JOIN "
                                     "device_holder h ON h.holder=l.holder LEFT JOIN device_seen s ON "
                                     "s.device=l.device WHERE %1 ORDER BY l.device")
                          .arg(d->isAlive()));
    for (find.exec(); find.next();) {
        const QDateTime since = QDateTime::fromMSecsSinceEpoch(find.integer(3));
        result.append({CDeviceId(quint32(find.integer(0))), find.text(1), find.text(2) == d->holder, since,
                       qMax(since, QDateTime::fromSecsSinceEpoch(find.integer(5))), toObject(find.text(4))});
    }
    return result;
}

bool CRemoteDevices::isElsewhere(CDeviceId device)
{
    if (!d->database->exists())
        return false;
    SqlStatement find(d->database,
                      QStringLiteral("SELECT 1 FROM device_link l JOIN device_holder h ON h.holder=l.holder "
                                     "WHERE l.device=? AND l.holder<>? AND %1")
                          .arg(d->isAlive()));
    return find.bind(qint64(device.value())).bind(d->holder).exec() && find.next();
}

void CRemoteDevices::Private::findMoved()
{
    QList<qint64> devices;
    for (auto link = own.cbegin(); link != own.cend(); ++link) {
        if (link->isNoted)
            devices.append(link.key());
    }
    if (devices.isEmpty())
        return;
    QList<qint64> moved;
    {
        const IdList list(database, devices);
        SqlStatement find(database,
                          QLatin1String("SELECT device FROM device_link WHERE holder<>? AND device IN ") + list.sql());
        for (find.bind(holder).bind(list.value()).exec(); find.next();)
            moved.append(find.integer(0));
    }
    const QPointer<CRemoteDevices> guard(q);
    for (const qint64 device : qAsConst(moved)) {
        own.remove(quint32(device));
        Q_EMIT q->movedAway(CDeviceId(quint32(device)));
        if (!guard)
            return;
    }
}

// --- Commands

void CRemoteDevices::ask(CDeviceId device, const QString& kind, const QJsonObject& body, const QString& operatorName,
                         const Answer& answer)
{
    const bool begun = d->database->begin();
    bool good = begun;
    qint64 id = 0;
    if (good) {
        SqlStatement add(d->database,
                         QStringLiteral("INSERT INTO device_command(device,kind,operator,made,expires,state,"
                                        "body,error,answer) VALUES(?,?,?,%1,%1+%2,0,?,'','') RETURNING id")
                             .arg(d->now())
                             .arg(commandLife));
        good = add.bind(qint64(device.value())).bind(kind).bind(operatorName).bind(toText(body)).exec() && add.next();
        id = good ? add.integer(0) : 0;
    }
    if (!d->database->end(good))
        return d->reply(answer, d->database->errorString());
    Private::Asked& asked = d->asked[id];
    asked.device = device;
    asked.answer = answer;
    asked.age.start();
    d->patience.start();
}

void CRemoteDevices::Private::reply(const Answer& answer, const QString& error, const QJsonObject& result)
{
    if (answer)
        QMetaObject::invokeMethod(
            q, [answer, error, result] { answer(error, result); }, Qt::QueuedConnection);
}

void CRemoteDevices::Private::look()
{
    if (!isFree()) {
        if (database->depth() > 0)
            lookLater(lookDelayMs);
        return;
    }
    if (!unstored.isEmpty())
        storeAnswers();
    if (!asked.isEmpty()) {
        takeAnswers();
        giveUp();
    }
    if (asked.isEmpty() && unstored.isEmpty())
        patience.stop();
    if (!links)
        return;
    const QPointer<CRemoteDevices> guard(q);
    takeCommands();
    if (guard)
        findMoved();
}

void CRemoteDevices::Private::takeCommands()
{
    QList<Order> orders;
    {
        SqlStatement find(
            database,
            QStringLiteral("SELECT c.id,c.device,c.kind,c.operator,c.body FROM device_command c JOIN device_link "
                           "l ON l.device=c.device WHERE l.holder=? AND c.state=%1 AND NOT %2 ORDER BY c.id")
                .arg(QString::number(Waiting), isLate()));
        for (find.bind(holder).exec(); find.next();)
            orders.append({find.integer(0), CDeviceId(quint32(find.integer(1))), find.text(2), find.text(3),
                           toObject(find.text(4))});
    }
    if (orders.isEmpty())
        return;
    // Once it is stored that it was taken nobody takes it again, whatever happens to this server. The time may have
    // come while this waited for the database.
    QList<Order> taken;
    QList<qint64> others;
    bool good = database->begin();
    for (const Order& order : qAsConst(orders)) {
        int changed = 0;
        good = good
               && run(QStringLiteral("UPDATE device_command SET state=%1 WHERE id=? AND state=%2 AND NOT %3")
                          .arg(QString::number(Taken), QString::number(Waiting), isLate()),
                      {order.id}, &changed);
        if (changed > 0)
            taken.append(order);
        else
            others.append(order.id);
    }
    qint64 known = 0;
    if (good && !others.isEmpty()) {
        const IdList list(database, others);
        SqlStatement count(database, QStringLiteral("SELECT count(*) FROM device_command WHERE state<>%1 AND id IN %2")
                                         .arg(QString::number(Waiting), list.sql()));
        known = count.bind(list.value()).exec() && count.next() ? count.integer(0) : 0;
    }
    if (!database->end(good))
        return lookLater(retryMs);
    repeated += known;
    const QPointer<CRemoteDevices> guard(q);
    for (const Order& order : qAsConst(taken)) {
        execute(order);
        if (!guard)
            return;
    }
}

void CRemoteDevices::Private::execute(const Order& order)
{
    const QPointer<CRemoteDevices> guard(q);
    const qint64 id = order.id;
    const auto isDone = std::make_shared<bool>(false);
    if (!own.contains(order.device.value()))
        return finish(id, QStringLiteral("device %1 has lost its link").arg(order.device.toLabel()), {});
    work(order.device, order.kind, order.body, order.operatorName,
         [guard, id, isDone](const QString& error, const QJsonObject& result) {
             if (guard && !std::exchange(*isDone, true))
                 guard->d->finish(id, error, result);
         });
}

void CRemoteDevices::Private::finish(qint64 id, const QString& error, const QJsonObject& result)
{
    unstored.insert(id, {error, result});
    storeAnswers();
    if (!unstored.isEmpty())
        patience.start();
}

void CRemoteDevices::Private::storeAnswers()
{
    if (!isFree())
        return;
    bool good = database->begin();
    for (auto entry = unstored.cbegin(); good && entry != unstored.cend(); ++entry)
        good =
            run(QStringLiteral("UPDATE device_command SET state=%1,error=?,answer=? WHERE id=? AND state=%2")
                    .arg(Answered)
                    .arg(Taken),
                {entry->first.isNull() ? QString::fromLatin1("") : entry->first, toText(entry->second), entry.key()});
    if (database->end(good))
        unstored.clear();
}

void CRemoteDevices::Private::takeAnswers()
{
    const IdList ids(database, asked.keys());
    QList<std::pair<qint64, std::pair<QString, QJsonObject>>> answers;
    {
        SqlStatement find(database,
                          QStringLiteral("SELECT id,error,answer FROM device_command WHERE state=%1 AND id IN %2")
                              .arg(QString::number(Answered), ids.sql()));
        for (find.bind(ids.value()).exec(); find.next();)
            answers.append({find.integer(0), {find.text(1), toObject(find.text(2))}});
    }
    for (const auto& [id, answer] : qAsConst(answers))
        reply(asked.take(id).answer, answer.first, answer.second);
}

// Whoever asked hears that it was not done: it must not be done later either, whatever happens to the clock.
void CRemoteDevices::Private::giveUp()
{
    QList<qint64> late;
    for (auto entry = asked.begin(); entry != asked.end();) {
        if (entry->age.elapsed() < commandLife + graceMs / 2) {
            ++entry;
            continue;
        }
        late.append(entry.key());
        reply(entry->answer, QStringLiteral("device %1 did not answer").arg(entry->device.toLabel()));
        entry = asked.erase(entry);
    }
    if (late.isEmpty())
        return;
    const IdList ids(database, late);
    int changed = 0;
    const bool good = database->begin();
    if (database->end(good
                      && run(QStringLiteral("UPDATE device_command SET state=%1 WHERE state=%2 AND id IN %3")
                                 .arg(QString::number(Expired), QString::number(Waiting), ids.sql()),
                             {ids.value()}, &changed)))
        expired += changed;
}

// Also one from a time that is still to come: the database's clock was set back, and it could wait there for hours.
QString CRemoteDevices::Private::isLate() const
{
    return QStringLiteral("(expires<=%1 OR made>%1)").arg(now());
}

qint64 CRemoteDevices::expiredCommands() const
{
    return d->expired;
}

qint64 CRemoteDevices::repeatedCommands() const
{
    return d->repeated;
}
