#pragma once

#include <server/audit/audit_event.h>

#include <foundation/core/device_id.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QPointer>

struct DoorSession;

/// Words what happens at doors as notifications, as CDoorController lists them. Without a service none is sent. Whoever
/// hears one may delete the controller: look again whether it still is.
class DoorNotifications
{
public:
    /// Not taken over.
    void setService(CNotificationService* service) { m_service = service; }

    /// Of the trail, as the device reported it.
    void happened(CDeviceId device, const AuditEvent& event);
    /// Whether its list is up to date now. Of a device that no door has, nothing is told.
    void changed(const DoorSession& session, bool isUpToDate);
    /// A medium was shown while one was waited for.
    void detected(CDeviceId device, const QByteArray& uid);

private:
    void notify(const char* source, const QVariantMap& parameters);

    QPointer<CNotificationService> m_service;
};
