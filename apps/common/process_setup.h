#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

#include <functional>

enum class Termination
{
    Interrupt, ///< the user's Ctrl+C
    End,       ///< the system wants the process gone: kill, end of a service
    Hangup     ///< the terminal was closed; a service is asked so to read its settings again
};
/// Calls `handler` from the event loop when the user or the system asks the process to end; asked for the second time
/// before that, hangups aside, the process ends at once. One for each process; does nothing on systems without such
/// signals.
void onTerminationRequest(QObject* context, const std::function<void(Termination)>& handler);

/// Makes sure that descriptors 0 to 2 are open, or sockets of the program would take their places. To be called first.
void openStandardDescriptors();

/// Whom the system knows as the user of this process: a name, or "uid N" where there is none. "" where the system does
/// not say.
QString processUserName();

/// When the event loop has ended: gives the time until waitForOtherThreads() two seconds, then ends the process with
/// that code. Qt waits for host names that are looked up, ten seconds and more when the name server never answers.
void endSoon(int code);

/// At the end of main, after everything was destroyed: waits until no other thread is left, half a second at most. A
/// thread of Qt's network access counts as finished a moment before it frees what OpenSSL keeps for it; a process that
/// ends in that moment has both free the same.
void waitForOtherThreads();
