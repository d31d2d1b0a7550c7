#pragma once

#include "common/command_server.h"

class SimulatedDevice;
class Simulator;

/// Commands for a simulator that runs: what goes wrong from now on, and what happens at once. Each is answered by a
/// line of JSON and the code 0, or by a line that says what is wrong and the code 1.
class SimulatorControl : public QObject
{
    Q_OBJECT

public:
    explicit SimulatorControl(Simulator& simulator);

    bool listen(const QString& name, QString& error) { return m_server.listen(name, error); }

private:
    void answer(CommandClient& client, const QStringList& words);
    QString run(const QStringList& words);
    // What is done at a door; empty, or what is wrong. The report goes to the client, perhaps later.
    QString runAtDoor(CommandClient& client, const QStringList& words);
    SimulatedDevice* deviceByLabel(const QString& label) const;
    QString setFaults(const QStringList& words);
    QString status() const;

    Simulator& m_simulator;
    CommandServer m_server;
};
