#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonObject>

/// What a simulated device says to an application that talks to it; the device's state behind it is here too.
///
/// A message is a JSON object; "command" names what is wanted, and everything else in the answer is about that:
///
///     {"id":1,"command":"status"}                    {"id":1,"status":"ok","door":"closed","opened":0,"uptime":12}
///     {"id":2,"command":"open","seconds":5}          {"id":2,"status":"ok","door":"open","opened":1}
///     {"id":3,"command":"echo","data":ANYTHING}      {"id":3,"status":"ok","data":ANYTHING}
///     {"id":4,"command":"fly"}                       {"id":4,"status":"error","error":"unknown command \"fly\""}
///
/// "id" is repeated as it came. "seconds" is how long the door stays open, 3 without it, 3600 at most.
class DeviceDialogue
{
public:
    DeviceDialogue();

    /// The answer to a message; one that is no JSON object is an error too.
    QByteArray answer(const QByteArray& message);

    /// The door opens for so long.
    void open(int seconds);

private:
    QJsonObject run(const QJsonObject& question);
    QString door() const;

    QElapsedTimer m_clock;
    qint64 m_openUntilMs = 0;
    int m_opened = 0;
};
