#pragma once

#include <QtCore/QStringList>

class QCoreApplication;

/// Talks to the console behind a local socket: sends `command`, or what is typed or piped in, and shows the answers.
/// Returns the exit code of the last command that failed, 0 when none did, 1 without a console.
int runAttached(QCoreApplication& app, const QString& socketName, const QStringList& command);
