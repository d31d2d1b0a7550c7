#pragma once

#include "common/command_server.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <functional>
#include <memory>

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
    // To one command; a client is answered in the order of its commands, also where a verdict is waited for.
    struct Reply
    {
        QString text;
        int code = unknown;
        bool leaves = false;

        static constexpr int unknown = -1;
        bool isKnown() const { return code != unknown; }
        // Of an answer in JSON, or of what is wrong.
        void set(const QString& answer);
    };
    using Sent = std::shared_ptr<Reply>;

    void take(CommandClient& client, const QStringList& words);
    void answer(CommandClient& client);
    QString run(const QStringList& words);
    using Answer = std::function<void(const QString& line)>;
    // What is done at a door; empty, or what is wrong. The answer may come later.
    QString runAtDoor(const QStringList& words, const Answer& answer);
    SimulatedDevice* deviceByLabel(const QString& label) const;
    QString setFaults(const QStringList& words);
    QString status() const;

    Simulator& m_simulator;
    QHash<CommandClient*, QVector<Sent>> m_replies;
    CommandServer m_server;
};
