#pragma once

#include "common/command_server.h"

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
    QString setFaults(const QStringList& words);
    QString status() const;

    Simulator& m_simulator;
    CommandServer m_server;
};
