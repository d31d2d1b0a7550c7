#pragma once

#include <QtCore/QString>

#include <memory>

class QLocalSocket;

/// Connects to the console that takes commands at a local socket. Null with a reason in plain words: nobody is there,
/// this user may not use it, or it is not to be trusted.
std::unique_ptr<QLocalSocket> connectToConsole(const QString& name, QString& error);

/// The console that runs beside this one, if any: the system's service, else that of the same user.
struct FoundConsole
{
    std::unique_ptr<QLocalSocket> socket; ///< null when there is none
    QString name;
    /// Why one that is there is not used; for the user, may be empty.
    QString note;
};
FoundConsole findConsole();
