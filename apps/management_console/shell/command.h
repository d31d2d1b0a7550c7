#pragma once

#include "common/app_options.h"
#include "shell/arguments.h"
#include "shell/output.h"
#include "shell/session.h"
#include "shell/table.h"

#include <QtCore/QJsonObject>
#include <QtCore/QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class Command;
class TableWatch;

/// One thing that a command does: `groups join GROUP USER...`. The first verb of a table may have no name: it is what
/// the command does without one.
struct Verb
{
    const char* name = "";
    /// As shown in the help, and checked: "GROUP USER...", "LABEL [KEY=VALUE...]".
    const char* arguments = "";
    const char* summary = "";
    void (*start)(Command& command, AppOptions& options) = nullptr;
    void (*addOptions)(AppOptions& options) = nullptr;
};

/// One command of the console: used alike as a subcommand, at the prompt and through a socket. An object runs once.
///
/// A command either has verbs(), or addOptions() and start(). Arguments that do not fit, too many or too few, are
/// refused before it starts.
class Command : public QObject
{
    Q_OBJECT

public:
    Command(Session& session, Output& output)
        : m_session(session)
        , m_output(output)
    {
    }

    virtual const std::vector<Verb>& verbs() const;
    virtual void addOptions(AppOptions& options) { Q_UNUSED(options) }
    /// Runs the command; done(), fail() or misuse() ends it, at once or later. A mistake that is found in the options
    /// ends it as misuse.
    virtual void start(AppOptions& options) { Q_UNUSED(options) }
    /// The user does not want to wait any longer.
    virtual void cancel();

    /// What the user gave to a command that has emitted inputWanted() or passwordWanted(): a line, or the news that
    /// there is no more.
    virtual void takeInput(const QString& line) { Q_UNUSED(line) }
    virtual void takeInputEnd() {}

    /// Called by a command that would fail only because another program is just changing the installation: true when it
    /// is given up and another object is run in its place a little later.
    void setTryAgain(const std::function<bool()>& tryAgain) { m_tryAgain = tryAgain; }

    /// Reads the options and starts; mistakes in them end the command with a line that says so.
    void run(const QString& name, const QString& summary, QStringList arguments);
    /// What it does and how it is called, verb by verb.
    QString help(const QString& name, const QString& summary) const;
    /// The environment variables that stand for its options.
    QStringList variables(const QString& name) const;
    /// The options behind these arguments, which may be incomplete. A verb among them that has a name is taken out.
    std::unique_ptr<AppOptions> optionsBehind(const QString& name, QStringList& arguments) const;

Q_SIGNALS:
    /// 0: done, 1: failed, 2: called wrongly. Emitted once, never from within run().
    void finished(int code);
    /// One line of input is asked for.
    void inputWanted();
    /// The same for one that must not be seen; `question` is shown in front of it.
    void passwordWanted(const QString& question);
    /// The user leaves: the prompt, or the connection to a console that goes on.
    void leaveWanted();

protected:
    Session& session() { return m_session; }
    Output& output() { return m_output; }
    /// The installation; null when it cannot be opened, in which case the command has failed with the reason.
    CSqlAccessControl* model();

    /// The content of a file that the user named. Else the command fails with the reason.
    void readFile(const QString& name, qint64 most, const std::function<void(const QByteArray& bytes)>& then);
    /// Writes a file that the user named, as a whole. `content` gives what went wrong, empty when nothing did; then the
    /// command fails with that.
    void writeFile(const QString& name, const Files::Content& content, const std::function<void()>& then,
                   OutputFile::Mode mode = OutputFile::Mode::Replace);
    /// Says that a file was written, unless that would stand in it, and ends the command. As JSON its name is said,
    /// too.
    void doneWriting(const QString& name, const QString& text, QJsonObject json = {});
    /// A result that is no table: the text, or with --json the object.
    void showHelp(const QString& text);
    void say(const QString& text, const QJsonObject& json) { m_output.line(resultLine(text, json)); }
    QString resultLine(const QString& text, const QJsonObject& json) const;

    bool isTriedAgain() const { return m_tryAgain && m_tryAgain(); }
    void done(int code = 0);
    void fail(const QString& reason);
    void misuse(const QString& reason);
    /// Something that the user should know though the command goes on, in one line on standard error.
    void warn(const QString& text);
    /// Shows a table as TableOptions say, as JSON when --json was given. One that cannot be shown so ends the command;
    /// one that goes to a file delays its end until it is there.
    void print(Table table);
    /// The same for a table that always has one row: its columns are lines, in JSON it is an object.
    void printOne(const Table& table);
    /// Shows a table that changes until the command is cancelled or ends; see TableWatch.
    void watch(const std::function<Table()>& view, const QStringList& restless = {});
    /// Shows it at once.
    void watchNow();
    bool isWatching() const { return m_watch != nullptr; }
    bool isJson() const { return m_json; }
    const TableOptions& tableOptions() const { return m_tableOptions; }

private:
    void writeTable(const Table& table);

    std::unique_ptr<AppOptions> makeOptions(const QString& name, const QString& summary, const Verb* verb) const;
    /// Null: there is no such verb.
    const Verb* takeVerb(const QString& name, QStringList& arguments, QString* mistake = nullptr) const;

    Session& m_session;
    Output& m_output;
    QString m_name;
    std::function<bool()> m_tryAgain;
    bool m_json = false;
    TableOptions m_tableOptions;
    TableWatch* m_watch = nullptr;
    int m_filesBegun = 0; // tables that are being written
    std::optional<int> m_heldCode;
    bool m_done = false;
};

/// The function of a table of verbs that calls a member of its command: startVerb<&UsersCommand::add>.
template<class T>
T& commandOf(void (T::*)(AppOptions&), Command& command)
{
    return static_cast<T&>(command);
}
template<auto member>
void startVerb(Command& command, AppOptions& options)
{
    (commandOf(member, command).*member)(options);
}

/// How a command is found and made.
struct CommandEntry
{
    const char* name = nullptr;
    const char* summary = nullptr;
    Command* (*create)(Session& session, Output& output) = nullptr;
    /// Works on what its user has here (files, the network, a server of its own): given on the command line, it is
    /// never handed to a console that runs already.
    bool isOfThisProcess = false;
};

template<class T>
Command* makeCommand(Session& session, Output& output)
{
    return new T(session, output);
}
