#include <server/devices/door_notifications_p.h>

#include <foundation/datatypes/data_type.h>
#include <server/devices/door_session_p.h>
#include <server/model/model_vocabulary_p.h>

#include <QtCore/QDateTime>

using namespace Model;

void DoorNotifications::happened(CDeviceId device, const AuditEvent& event)
{
    QVariantMap parameters = event.details.toVariantMap();
    parameters.remove(QStringLiteral("deviceEpoch"));
    parameters.insert(QStringLiteral("event"), auditKindName(event.kind));
    parameters.insert(QStringLiteral("device"), device.toLabel());
    parameters.insert(QStringLiteral("at"), QDateTime::fromMSecsSinceEpoch(event.at, Qt::UTC).toString(Qt::ISODate));
    if (event.accessPoint != CItemId())
        parameters.insert(QStringLiteral("accessPoint"), event.accessPoint.value());
    if (event.user != CItemId())
        parameters.insert(QStringLiteral("user"), event.user.value());
    if (event.medium != CItemId())
        parameters.insert(QStringLiteral("medium"), event.medium.value());
    if (!event.operatorName.isEmpty())
        parameters.insert(QStringLiteral("operator"), event.operatorName);
    const bool isOfDevice = event.kind == AuditKind::Clock || event.kind == AuditKind::Start;
    notify(isOfDevice ? "Devices" : "Access", parameters);
}

void DoorNotifications::changed(const DoorSession& session, bool isUpToDate)
{
    if (session.accessPoint == CItemId())
        return;
    QVariantMap parameters{
        {QStringLiteral("event"), isUpToDate ? QStringLiteral("upToDate") : QStringLiteral("notUpToDate")},
        {QStringLiteral("device"), session.device.toLabel()},
        {accessPointIdKey, session.accessPoint.value()},
        {QStringLiteral("revision"), QString::fromLatin1(session.provisioner.revision())}};
    if (!session.fault.isEmpty())
        parameters.insert(QStringLiteral("reason"), session.fault);
    notify("Devices", parameters);
}

void DoorNotifications::detected(CDeviceId device, const QByteArray& uid)
{
    notify("Devices", {{QStringLiteral("event"), QStringLiteral("detected")},
                       {QStringLiteral("device"), device.toLabel()},
                       {uidKey, CDataType::rfidUidToLabel(uid)}});
}

void DoorNotifications::notify(const char* source, const QVariantMap& parameters)
{
    if (m_service)
        m_service->notifyObservers(QLatin1String(source), parameters);
}
