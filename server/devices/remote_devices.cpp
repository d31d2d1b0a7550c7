#include <server/devices/remote_devices.h>

#include <server/database/database.h>
#include <server/devices/device_links.h>
#include <server/devices/remote_commands_p.h>
#include <server/devices/remote_links_p.h>

#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <utility>

namespace {

constexpr int lookDelayMs = 10;  // what comes together is looked at together
constexpr int flushDelayMs = 20; // links that come together are noted together
constexpr int retryMs = 250;

} // namespace

class CRemoteDevices::Private
{
public:
    Private(CRemoteDevices* remote, CDatabase* inDatabase)
        : q(remote)
        , database(inDatabase)
        , links(inDatabase)
        , commands(inDatabase, links.holder(), remote)
    {
    }

    void lookLater(int milliseconds) { lookTimer.start(milliseconds); }
    void flushLater()
    {
        if (!flushTimer.isActive())
            flushTimer.start(flushDelayMs);
    }
    void come(CDeviceId device);
    void leave(CDeviceId device);
    void flush();
    void beat();
    void look();
    void takeCommands();
    void execute(const RemoteCommands::Order& order);
    void finish(qint64 id, const QString& error, const QJsonObject& result);
    void tellMoved();

    CRemoteDevices* q;
    CDatabase* database;
    IDeviceLinks* deviceLinks = nullptr;
    Work work;
    RemoteLinks links;
    RemoteCommands commands;
    QTimer flushTimer;
    QTimer lookTimer;
    QTimer beatTimer;
    QTimer patience;
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
        if (!d->lookTimer.isActive() && (d->deviceLinks || d->commands.isAsking()))
            d->lookLater(lookDelayMs);
    });
    connect(database, &CDatabase::awayChanged, this, [this](bool isAway) {
        if (!isAway)
            d->beat();
    });
}

CRemoteDevices::~CRemoteDevices()
{
    if (!d->links.isKnown() || !d->commands.isDatabaseFree())
        return;
    const bool good = d->database->begin();
    d->database->end(good && d->links.end());
}

// --- Links

void CRemoteDevices::serve(IDeviceLinks* links, const QString& server, bool isOnly, const Work& work)
{
    d->deviceLinks = links;
    d->work = work;
    d->links.serve(server, isOnly);
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
    return d->links.server();
}

void CRemoteDevices::describe(CDeviceId device, const QJsonObject& details)
{
    if (d->links.describe(device, details))
        d->flushLater();
}

QList<CRemoteDevices::Link> CRemoteDevices::links()
{
    return d->links.all();
}

bool CRemoteDevices::isElsewhere(CDeviceId device)
{
    return d->links.isElsewhere(device);
}

void CRemoteDevices::Private::come(CDeviceId device)
{
    links.add(device);
    flushLater();
}

void CRemoteDevices::Private::leave(CDeviceId device)
{
    links.remove(device);
    flushLater();
}

void CRemoteDevices::Private::flush()
{
    if (!links.isKnown())
        return;
    if (!commands.isDatabaseFree())
        return flushTimer.start(retryMs);
    const bool good = database->begin();
    if (!database->end(good && links.note()))
        return flushTimer.start(retryMs);
    links.noted();
    look();
}

// The beginning, too, and what is to be done again when others took this server for dead.
void CRemoteDevices::Private::beat()
{
    if (!deviceLinks || !commands.isDatabaseFree())
        return;
    bool isNew = false;
    int late = 0;
    const bool good = database->begin();
    if (!database->end(good && links.beat(&isNew) && commands.expire(&late)))
        return;
    links.hasBeaten(isNew);
    commands.noteExpired(late);
    if (isNew)
        flush();
    else if (links.findUnlisted())
        flushLater();
}

void CRemoteDevices::Private::tellMoved()
{
    const QList<CDeviceId> moved = links.takeMoved();
    const QPointer<CRemoteDevices> guard(q);
    for (const CDeviceId device : moved) {
        Q_EMIT q->movedAway(device);
        if (!guard)
            return;
    }
}

// --- Commands

void CRemoteDevices::ask(CDeviceId device, const QString& kind, const QJsonObject& body, const QString& operatorName,
                         const Answer& answer)
{
    if (d->commands.ask(device, kind, body, operatorName, answer))
        d->patience.start();
}

qint64 CRemoteDevices::expiredCommands() const
{
    return d->commands.expired();
}

qint64 CRemoteDevices::repeatedCommands() const
{
    return d->commands.repeated();
}

void CRemoteDevices::Private::look()
{
    if (!commands.isDatabaseFree()) {
        if (database->depth() > 0)
            lookLater(lookDelayMs);
        return;
    }
    commands.storeAnswers();
    commands.takeAnswers();
    if (!commands.isAsking() && !commands.hasUnstored())
        patience.stop();
    if (!deviceLinks)
        return;
    const QPointer<CRemoteDevices> guard(q);
    takeCommands();
    if (guard)
        tellMoved();
}

void CRemoteDevices::Private::takeCommands()
{
    bool isBusy = false;
    const QList<RemoteCommands::Order> orders = commands.take(&isBusy);
    if (isBusy)
        return lookLater(retryMs);
    const QPointer<CRemoteDevices> guard(q);
    for (const RemoteCommands::Order& order : orders) {
        execute(order);
        if (!guard)
            return;
    }
}

void CRemoteDevices::Private::execute(const RemoteCommands::Order& order)
{
    const QPointer<CRemoteDevices> guard(q);
    const qint64 id = order.id;
    const auto isDone = std::make_shared<bool>(false);
    if (!links.has(order.device))
        return finish(id, QStringLiteral("device %1 has lost its link").arg(order.device.toLabel()), {});
    work(order.device, order.kind, order.body, order.operatorName,
         [guard, id, isDone](const QString& error, const QJsonObject& result) {
             if (guard && !std::exchange(*isDone, true))
                 guard->d->finish(id, error, result);
         });
}

void CRemoteDevices::Private::finish(qint64 id, const QString& error, const QJsonObject& result)
{
    commands.finish(id, error, result);
    if (commands.hasUnstored())
        patience.start();
}
