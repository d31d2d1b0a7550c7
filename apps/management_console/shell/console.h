#pragma once

#include "shell/command_runner.h"
#include "shell/input_lines.h"
#include "shell/local_files.h"
#include "shell/output.h"
#include "shell/screen.h"
#include "shell/terminal.h"

#include <foundation/cli/abstract_cli.h>

#include <QtCore/QPointer>
#include <QtCore/QStringList>

#include <memory>

class LineEditor;

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

    /// Of lines that are piped in: none is run behind one that failed.
    void stopOnError() { m_stopsOnError = true; }
    /// Runs the command that was given as arguments, then takes lines unless the input is Arguments. Without a command
    /// it takes lines at once.
    void begin(const QStringList& arguments);
    /// Ends the running command; without one takes away what is typed, or ends the console when nothing is.
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
    void progress(const QString& text) override { m_screen.progress(text); }
    bool colour() const override { return m_colour; }
    Files& files() override { return m_files; }
    int columns() const override { return Terminal::size().columns; }
    int rows() const override { return Terminal::isInteractive() ? Terminal::size().rows : 0; }
    void page(const QStringList& texts) override;
    void redraw(const QStringList& texts) override { m_screen.redraw(texts); }

    void askPassword(const QString& question);
    void giveInput(const QString& line);
    void giveNoInput();
    void runNext();
    void commandDone(int code);

    Session& m_session;
    CommandRunner m_runner;
    InputLines m_lineInput; // of a command that was given as arguments
    LocalFiles m_files;
    std::unique_ptr<Terminal::Hidden> m_hidden;
    QPointer<LineEditor> m_editor; // null where lines cannot be edited
    Screen m_screen;
    Input m_input;
    bool m_colour;
    bool m_started = false;
    bool m_ending = false;
    bool m_waiting = false; // the prompt is shown
    int m_pagedCode = 0;
    QStringList m_lines; // came in while a command ran
    bool m_stopsOnError = false;
    int m_lineNumber = 0; // of the line whose command runs
};
