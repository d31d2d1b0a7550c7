#pragma once

#include <QtCore/QStringList>

class QCoreApplication;
class QLocalSocket;

/// Talks to the tool that takes commands behind a connected local socket: sends `command`, or what is typed or piped
/// in, and shows the answers. A tool from which nothing is heard for `patienceSeconds` while it should answer is given
/// up. Returns the exit code of the command, of piped ones that of the last that failed, 0 when none did.
int runAttached(QCoreApplication& app, QLocalSocket& socket, const QStringList& command, int patienceSeconds,
                bool stopsOnError);
