// What reaches to the devices that are linked.
#include <foundation/access/access_evaluator.h>
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
