#pragma once

#include <foundation/cli/abstract_cli.h>

class Simulator;

/// Commands for a simulator that runs: what goes wrong from now on, and what happens at once.
///
/// Each line is answered by a line of JSON and then "= 0", or by a line of text and then "= 1", as a console does that
/// is driven through a socket.
class SimulatorControl : public CAbstractCli
{
    Q_OBJECT

public:
    SimulatorControl(Simulator& simulator, CAbstractCliIO* io);

public Q_SLOTS:
    void readLine(const QString& line) override;

private:
    QString run(const QStringList& words);
    QString setFaults(const QStringList& words);
    QString status() const;

    Simulator& m_simulator;
};
