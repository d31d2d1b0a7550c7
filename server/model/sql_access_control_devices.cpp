// Devices: what reaches to those that are linked, and which door has which.
#include <foundation/access/access_evaluator.h>
#include <foundation/core/string_utils.h>
#include <foundation/datatypes/data_type.h>
#include <server/model/access_facts_sql_p.h>
#include <server/model/model_devices.h>
#include <server/model/sql_access_control_p.h>

#include <QtCore/QDateTime>

#include <algorithm>

using namespace Model;

namespace {

// For UserActionOpenLong.
constexpr int longSeconds = 30;
constexpr int waitSeconds = 60;

// A right that holds now; whoever is logged in needs no credential besides.
bool mayOpen(CDatabase* database, CItemId user, CItemId accessPoint)
{
    if (user == CItemId())
        return false;
    const CAccessFacts facts = SqlAccessFacts(database).ofUserAtDoor(user, accessPoint);
    const auto chains = CAccessEvaluator::verdict(facts, QDateTime::currentSecsSinceEpoch()).chains;
    return std::any_of(chains.cbegin(), chains.cend(),
                       [](const CAccessChain& chain) { return chain.step >= CAccessStep::CredentialPresent; });
}

} // namespace

IModelDevices::~IModelDevices() = default;

void CSqlAccessControl::setDevices(IModelDevices* devices)
{
    d->devices = devices;
}

bool CSqlAccessControl::openAccessPoint(CItemId accessPoint, const QVariantMap& parameters)
{
    d->error.clear();
    if (!d->items.exists(KindAccessPoint, anyClass, accessPoint.value()))
        return d->refuseUnknown(KindAccessPoint, anyClass, accessPoint.value());
    CLockOpen command;
    command.seconds =
        qBound(1, parameters.value(QStringLiteral("seconds"), command.seconds).toInt(), CLockOpen::mostSeconds);
    command.comment = parameters.value(QStringLiteral("comment")).toString().left(CLockOpen::longestText);
    command.user = d->loggedIn;
    // Whoever is logged in opens it in nobody else's name.
    command.operatorName = d->loggedIn != CItemId()
                               ? QString::number(d->loggedIn.value())
                               : parameters.value(QStringLiteral("operator")).toString().left(CLockOpen::longestText);
    return (d->devices && d->devices->open(accessPoint, command))
           || d->refuse(QStringLiteral("the device of door %1 is not linked").arg(accessPoint.value()));
}

bool CSqlAccessControl::executeAccessPointAsLoggedInUser(const QString& accessPoint, unsigned int action,
                                                         const QVariantMap& parameters, const QVariantMap&)
{
    d->error.clear();
    const CItemId door = toId(accessPoint);
    if (!mayOpen(&d->database, d->loggedIn, door))
        return d->refuse(QStringLiteral("the logged-in user may not open door %1 now").arg(accessPoint));
    QVariantMap given = parameters;
    if (action == CDataType::UserActionOpenLong)
        given.insert(QStringLiteral("seconds"), longSeconds);
    else if (action != 0 && action != CDataType::UserActionOpen)
        return d->refuse(QStringLiteral("the device of door %1 cannot do that").arg(accessPoint));
    return openAccessPoint(door, given);
}

bool CSqlAccessControl::executeOpenerAuthorizationPoints(const QVariantList& authorizationPoints)
{
    d->error.clear();
    QList<CItemId> doors;
    for (const QVariant& given : authorizationPoints) {
        const QVariantMap map = given.toMap();
        const qint64 id = toId(map.isEmpty() ? given : map.value(idKey));
        const QVariantMap opener =
            d->items.first(KindAuthorizationPoint, AuthPointClassOpener, QVariantMap{{idKey, id}});
        const CItemId door = toId(opener.value(accessPointIdKey));
        if (opener.isEmpty() || !mayOpen(&d->database, d->loggedIn, door))
            return d->refuse(QStringLiteral("the logged-in user may not use opener %1 now").arg(id));
        doors.append(door);
    }
    bool good = !doors.isEmpty();
    for (const CItemId door : qAsConst(doors))
        good = openAccessPoint(door, {}) && good;
    return good;
}

bool CSqlAccessControl::startWaitingForRfidMedium(const CDeviceId& device)
{
    d->error.clear();
    return (d->devices && d->devices->waitForMedium(device, waitSeconds))
           || d->refuse(QStringLiteral("device %1 is not linked").arg(device.toLabel()));
}

bool CSqlAccessControl::simulateRfidMedium(const QString& device, unsigned int first, unsigned int second, int third,
                                           int)
{
    d->error.clear();
    const quint64 number = quint64(first) << 32 | second;
    QByteArray uid = CDataType::rfidUidToByteArray(number);
    if (third > uid.size() && third <= int(sizeof number))
        uid.prepend(third - uid.size(), '\0');
    if (CLockCredential::fromUid(uid).isNone())
        return d->refuse(QStringLiteral("a UID has 4, 7 or 8 bytes"));
    return (d->devices && d->devices->simulateMedium(CDeviceId::fromLabel(device), uid))
           || d->refuse(QStringLiteral("device %1 is not linked").arg(device));
}

// --- Devices as items

bool CSqlAccessControl::addDeviceToAccessPoint(const QString& device, CItemId accessPoint,
                                               const QVariantMap& parameters)
{
    return d->change([&] {
        const CDeviceId deviceId = CDeviceId::fromLabel(device);
        if (!deviceId.isValid())
            return d->refuse(QStringLiteral("%1 is not the label of a device").arg(CStringUtils::printable(device)));
        if (!d->items.exists(KindAccessPoint, anyClass, accessPoint.value()))
            return d->refuseUnknown(KindAccessPoint, anyClass, accessPoint.value());
        const QVariantMap known = d->items.first(KindDevice, anyClass, {{labelKey, deviceId.toLabel()}});
        qint64 id = toId(known.value(idKey));
        const qint64 at = toId(known.value(accessPointIdKey));
        if (at != 0 && at != accessPoint.value())
            return d->refuse(
                QStringLiteral("device %1 is already assigned to door %2").arg(deviceId.toLabel()).arg(at));
        const QList<qint64> there = d->items.idsByParent(KindDevice, accessPoint.value());
        if (!there.isEmpty() && there != QList<qint64>{id})
            return d->refuse(QStringLiteral("door %1 already has a device").arg(accessPoint.value()));
        if (id == 0)
            id = d->create(KindDevice, 0,
                           {{labelKey, deviceId.toLabel()}, {QStringLiteral("deviceId"), deviceId.value()}});
        if (id == 0 || !d->setParent(KindDevice, id, accessPoint.value()))
            return false;
        for (auto entry = parameters.cbegin(); entry != parameters.cend(); ++entry) {
            if (!d->set(KindDevice, anyClass, entry.key(), entry.value(), id))
                return false;
        }
        d->record(KindDevice, id, Changed);
        return true;
    });
}

bool CSqlAccessControl::deleteDevice(const QString& device)
{
    return d->change([&] {
        const QVariantMap known = d->items.first(KindDevice, anyClass, {{labelKey, device}});
        return known.isEmpty() ? d->refuse(QStringLiteral("there is no device %1").arg(CStringUtils::printable(device)))
                               : d->remove(KindDevice, anyClass, toId(known.value(idKey)));
    });
}
