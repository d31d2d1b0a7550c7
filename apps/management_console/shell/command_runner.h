#pragma once

#include "shell/command.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

/// Runs commands for one user, one at a time.
class CommandRunner : public QObject
{
    Q_OBJECT

public:
    CommandRunner(Session& session, Output& output, QObject* parent);

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
    /// The same for one that must not be seen; `question` is shown in front of it.
    void passwordWanted(const QString& question);
    void leaveWanted();

private:
    void start();
    bool tryAgain();
    void conclude(int code);

    Session& m_session;
    Output& m_output;
    QPointer<Command> m_command;
    QStringList m_words;
    QElapsedTimer m_sinceBegin;
    QTimer m_again;
    bool m_hadInput = false;
    bool m_running = false;
};
