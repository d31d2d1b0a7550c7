#pragma once

#include <server/devices/door_compiler.h>
#include <server/devices/door_session_p.h>

#include <QtCore/QObject>
#include <QtCore/QQueue>
#include <QtCore/QTimer>
#include <QtCore/QVariantMap>

class CSqlAccessControl;
class DoorCommands;

/// Sends each linked device what the model calls for: the list of its door, the time, and the rules of local time.
/// Which lists a change concerns is found out; these are compiled anew, few at a time, so that whoever asks meanwhile
/// is answered.
class DoorUpdates : public QObject
{
    Q_OBJECT

public:
    /// All three outlive it.
    DoorUpdates(CSqlAccessControl* model, DoorSessions* sessions, DoorCommands* commands);

    /// `data` is that of the notification "Model".
    void modelChanged(const QVariantMap& data);
    /// The list of that device is compiled anew in a later turn of the event loop.
    void mark(DoorSession& session);
    /// The time and the rules of local time; without `isAlways` only where these rules are others than before.
    void sendTime(DoorSession& session, bool isAlways);
    /// The door of a device, 0 for none. Nothing when the model cannot be read.
    std::optional<CItemId> doorOf(CDeviceId device) const;

Q_SIGNALS:
    /// A marked list was compiled, or could not be.
    void updated(CDeviceId device);

private:
    void compileSome();
    bool compile(DoorSession& session);
    void markUnread();

    CSqlAccessControl* m_model;
    DoorSessions* m_sessions;
    DoorCommands* m_commands;
    CDoorCompiler m_compiler;
    /// May name devices that have left, or stand there twice: the mark of the session counts.
    QQueue<CDeviceId> m_marked;
    QTimer m_compileTimer;
    QTimer m_unreadTimer;
};
