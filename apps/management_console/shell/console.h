#pragma once

#include "shell/command_runner.h"
#include "shell/input_lines.h"
#include "shell/local_files.h"
#include "shell/output.h"

#include <foundation/cli/abstract_cli.h>

#include <QtCore/QStringList>

/// The management console: reads lines, runs commands one after the other, shows what they say.
class Console : public CAbstractCli, private Output
{
    Q_OBJECT

public:
    /// Where the lines come from.
    enum class Input
    {
        Arguments, ///< one command from the command line, no lines
        Terminal,
        Pipe
    };

    static constexpr const char* prompt = "kyr> ";

    Console(Session& session, CAbstractCliIO* io, Input input, QObject* parent = nullptr);
    ~Console() override;

    /// Runs the command that was given as arguments, then takes lines unless the input is Arguments. Without a command
    /// it takes lines at once.
    void begin(const QStringList& arguments);
    /// Ends the running command, or the console when there is none.
    void interrupt();
    /// Ends the running command and the console.
    void end();
    /// Nobody types: the closed terminal is nobody's, the program goes on as long as it serves.
    bool isService() const { return m_input == Input::Arguments && m_session.server(); }

public Q_SLOTS:
    void readLine(const QString& line) override;

private Q_SLOTS:
    void onCommandFinished(int code);

private:
    void line(const QString& text) override;
    void error(const QString& text) override;
    void progress(const QString& text) override;
    bool colour() const override { return m_colour; }
    Files& files() override { return m_files; }

    void showNews(const QString& text);
    void runNext();
    void commandDone(int code);

    Session& m_session;
    CommandRunner m_runner;
    InputLines m_lineInput; // of a command that was given as arguments
    LocalFiles m_files;
    Input m_input;
    bool m_colour;
    bool m_started = false;
    bool m_ending = false;
    bool m_waiting = false; // the prompt is shown
    bool m_progress = false;
    QStringList m_lines; // came in while a command ran
};
