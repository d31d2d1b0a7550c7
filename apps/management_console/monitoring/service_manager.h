#pragma once

#include <QtCore/QByteArray>

class QObject;

/// Tells the service manager how the process is, by the protocol of sd_notify: datagrams to the socket that
/// NOTIFY_SOCKET names. Does nothing where there is none.
namespace ServiceManager {

/// Takes the variables out of the environment, so that programs that are started here do not speak for this one. To be
/// called once, before anything else here.
void begin();
/// The work has begun, or goes on after reloading().
void ready();
void reloading();
void stopping();
/// One line, "STATUS=..." and the like.
void tell(const QByteArray& text);
/// As long as the event loop of `context` turns, says so twice in the time that the manager allows.
void watch(QObject* context);

} // namespace ServiceManager
