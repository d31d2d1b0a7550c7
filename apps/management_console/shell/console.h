#pragma once

#include <foundation/cli/abstract_cli.h>

#include <QtCore/QPointer>
#include <QtCore/QStringList>

class Command;
class Session;

/// The management console: reads lines, runs commands one after the other, shows what they say.
class Console : public CAbstractCli
{
    Q_OBJECT

public:
    /// Where the lines come from.
    enum class Input
    {
        Arguments, ///< one command from the command line, no lines
        Terminal,
        Pipe,
        Socket, ///< each answer ends with a line "= N", N being the command's exit code; "! " begins news
    };

    static constexpr const char* prompt = "kyr> ";

    static constexpr QLatin1String codeMark{"= ", 2};
    static constexpr QLatin1String eventMark{"! ", 2};

    Console(CAbstractCliIO* io, Input input, QObject* parent = nullptr);
    ~Console() override;

    /// Runs the command that was given as arguments, then takes lines unless the input is Arguments. Without a command
    /// it takes lines at once.
    void begin(const QStringList& arguments);
    /// Ends the running command, or the console when there is none.
    void interrupt();
    /// Ends the running command and the console.
    void end();

    void writeText(const QString& text);
    void writeErrorText(const QString& text);
    void writeEvent(const QString& text);
    void showProgress(const QString& text);
    bool colour() const { return m_colour; }

public Q_SLOTS:
    void readLine(const QString& line) override;

private Q_SLOTS:
    void onCommandFinished(int code);

private:
    void runNext();
    void runCommand(const QStringList& words);
    void commandDone(int code);

    Session* m_session;
    Input m_input;
    bool m_colour;
    bool m_started = false;
    bool m_ending = false;
    bool m_waiting = false; // the prompt is shown
    bool m_progress = false;
    QPointer<Command> m_command;
    QStringList m_lines; // came in while a command ran
};
