#pragma once

#include "common/app_options.h"
#include "shell/session.h"
#include "shell/table.h"

#include <QtCore/QObject>

#include <memory>
#include <vector>

/// One command of the console: used alike as a subcommand, at the prompt and through a socket. An object runs once.
class Command : public QObject
{
    Q_OBJECT

public:
    explicit Command(Session& session)
        : m_session(session)
    {
    }

    virtual void addOptions(AppOptions& options) { Q_UNUSED(options) }
    /// Runs the command; done(), fail() or misuse() ends it, at once or later.
    virtual void start(AppOptions& options) = 0;
    /// The user does not want to wait any longer.
    virtual void cancel() { fail(QStringLiteral("interrupted")); }

    /// Reads the options and starts; mistakes in them end the command with a line that says so.
    void run(const QString& name, const QString& summary, const QStringList& arguments);

Q_SIGNALS:
    /// 0: done, 1: failed, 2: called wrongly. Emitted once, never from within run().
    void finished(int code);

protected:
    Session& session() { return m_session; }
    void done(int code = 0);
    void fail(const QString& reason);
    void misuse(const QString& reason);
    /// Shows a table, as JSON when --json was given.
    void print(const Table& table);
    bool isJson() const { return m_json; }

private:
    Session& m_session;
    QString m_name;
    bool m_json = false;
    bool m_done = false;
};

/// How a command is found and made.
struct CommandEntry
{
    const char* name;
    const char* summary;
    Command* (*create)(Session& session);
};

const std::vector<CommandEntry>& commandTable();
const CommandEntry* findCommand(const QString& name);
/// The options of a command and what they mean.
QString commandHelp(const CommandEntry& entry, Session& session);
