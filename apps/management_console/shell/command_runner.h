#pragma once

#include "shell/command.h"

#include <QtCore/QPointer>

/// Runs commands for one user, one at a time.
class CommandRunner : public QObject
{
    Q_OBJECT

public:
    CommandRunner(Session& session, Output& output, QObject* parent);

    /// Who gives the commands, for the trail; without one it is the user of this process.
    void setOperatorName(const QString& name) { m_operatorName = name; }

    bool isRunning() const { return m_running; }
    /// Runs a command with its arguments; not while another runs.
    void run(const QStringList& words);
    void cancel();

    void giveInput(const QString& line);
    void giveInputEnd();

Q_SIGNALS:
    /// The exit code of the command; never emitted from within run().
    void finished(int code);
    /// The command asks for a line: giveInput() or giveInputEnd() is the answer.
    void inputWanted();
    void leaveWanted();

private:
    void conclude(int code);

    Session& m_session;
    Output& m_output;
    QString m_operatorName;
    QPointer<Command> m_command;
    bool m_running = false;
};
