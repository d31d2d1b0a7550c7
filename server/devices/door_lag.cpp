#include <server/devices/door_lag.h>

#include <server/database/sql_statement_p.h>
#include <server/devices/concerned_doors_p.h>
#include <server/model/model_vocabulary_p.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>

#include <optional>

using namespace Model;

class CDoorLag::Private
{
public:
    struct Watched
    {
        Door door;
        std::optional<QByteArray> wanted; // not compiled yet
    };

    explicit Private(const CSqlAccessControl* model)
        : database(model->database())
        , compiler(model)
    {
    }

    std::optional<QByteArray> revisionAt(CDeviceId device) const;

    CDatabase* database;
    CDoorCompiler compiler;
    QMap<qint64, Watched> watched;
};

CDoorLag::CDoorLag(const CSqlAccessControl* model)
    : d(std::make_unique<Private>(model))
{
}

CDoorLag::~CDoorLag() = default;

void CDoorLag::watch(const QList<CItemId>& items)
{
    QSet<qint64> doors;
    QSet<qint64> numbers;
    for (const CItemId item : items)
        numbers.insert(item.value());
    addConcernedDoors(d->database, numbers, &doors);
    doors.unite(numbers);
    SqlStatement find(d->database, QStringLiteral("SELECT door.label,device.label FROM item device JOIN item door ON "
                                                  "door.id=device.parent WHERE device.kind=? AND device.parent=?"));
    for (const qint64 door : qAsConst(doors)) {
        for (find.bind(int(KindDevice)).bind(door).exec(); find.next();) {
            const CDeviceId device = CDeviceId::fromLabel(find.text(1));
            if (device.isValid())
                d->watched.insert(door, {{CItemId(door), find.text(0), device, false}, std::nullopt});
        }
    }
}

// Nothing for one that has never said what it has.
std::optional<QByteArray> CDoorLag::Private::revisionAt(CDeviceId device) const
{
    SqlStatement find(database, QStringLiteral("SELECT revision FROM device_state WHERE device=?"));
    if (find.bind(qint64(device.value())).exec() && find.next())
        return find.text(0).toLatin1();
    return std::nullopt;
}

bool CDoorLag::refresh(int milliseconds)
{
    QElapsedTimer spent;
    spent.start();
    bool isWhole = true;
    for (auto entry = d->watched.begin(); entry != d->watched.end();) {
        const std::optional<QByteArray> present = d->revisionAt(entry->door.device);
        entry->door.isKnown = present.has_value();
        // What has no list opens to nobody.
        bool hasTaken = present && present->isEmpty();
        if (!hasTaken && !entry->wanted) {
            if (spent.elapsed() < milliseconds)
                entry->wanted = d->compiler.compile(entry.key()).revision;
            else
                isWhole = false;
        }
        hasTaken = hasTaken || (present && entry->wanted == present);
        entry = hasTaken ? d->watched.erase(entry) : std::next(entry);
    }
    return isWhole;
}

void CDoorLag::restart()
{
    for (Private::Watched& watched : d->watched)
        watched.wanted.reset();
}

QList<CDoorLag::Door> CDoorLag::doors() const
{
    QList<Door> doors;
    for (const Private::Watched& watched : qAsConst(d->watched))
        doors.append(watched.door);
    return doors;
}
