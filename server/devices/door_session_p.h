#pragma once

#include <server/devices/door_controller.h>
#include <server/devices/provisioner.h>

#include <foundation/access/lock_messages.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QSet>

#include <map>
#include <memory>
#include <optional>

struct CCompiledDoor;

/// What the server holds of one device as long as it is linked: its door, what it said of itself, and its list.
struct DoorSession
{
    explicit DoorSession(CDeviceId id);

    /// From now on the device is to have the list of that door (of 0: of none); commands that bring it there. Times as
    /// of CProvisioner.
    CProvisioner::Commands want(CItemId door, const CCompiledDoor& compiled, qint64 now);
    /// The device has said that it has the list that the model calls for.
    bool isUpToDate() const;
    /// With `isBlind`, what others have changed in the model is not known.
    CDoorController::Status status(bool isBlind) const;

    const CDeviceId device;
    CItemId accessPoint;
    bool isDoorKnown = false; ///< else the model could not be read yet
    CProvisioner provisioner;
    std::optional<CLockState> state;
    std::optional<CDeviceTimeZoneSettings> zone; ///< as sent last
    qint64 clockAhead = 0;                       ///< in milliseconds
    qint64 stored = 0;                           ///< the last event of its epoch that is in the trail
    QVector<CLockEvents> waiting;                ///< which the database did not take yet
    QSet<qint64> sources;                        ///< the items that its list was made of
    QString fault;                               ///< why there is no list for it
    bool isDirty = false;                        ///< its list is to be compiled anew
    bool isUnread = false;                       ///< its list could not be read from the model
    bool wasUpToDate = false;                    ///< as told last

private:
    QByteArray m_wanted;
    /// Of lists, by revision: the wanted one, and the older one that the device has.
    QHash<QByteArray, QByteArray> m_texts;
};

/// The devices that are linked here, in the order of their numbers.
class DoorSessions
{
public:
    DoorSessions() { m_clock.start(); }

    DoorSession& add(CDeviceId device);
    void remove(CDeviceId device) { m_sessions.erase(device.value()); }
    /// Null for a device that is not linked. Valid until the device leaves, which any slot may bring about.
    DoorSession* find(CDeviceId device) const;

    auto begin() const { return m_sessions.begin(); }
    auto end() const { return m_sessions.end(); }

    /// The clock of all provisioners: milliseconds that only grow.
    qint64 now() const { return m_clock.elapsed(); }

private:
    std::map<quint32, std::unique_ptr<DoorSession>> m_sessions;
    QElapsedTimer m_clock;
};
