// kyr_console: finds, serves and manages the devices of an installation.
#include "commands/command_table.h"
#include "common/app_options.h"
#include "common/log_setup.h"
#include "common/process_setup.h"
#include "monitoring/service_manager.h"
#include "server/open_model.h"
#include "shell/attach.h"
#include "shell/command.h"
#include "shell/console.h"
#include "shell/find_console.h"
#include "shell/global_options.h"
#include "shell/help_text.h"
#include "shell/line_editor.h"
#include "shell/session.h"
#include "shell/socket_console.h"
#include "shell/terminal.h"

#include <foundation/cli/standard_io_handler.h>
#include <foundation/core/debug.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtNetwork/QLocalSocket>

#include <cstdio>
#include <memory>

namespace {

int failed(const QString& text)
{
    std::fprintf(stderr, "kyr_console: %s\n", qUtf8Printable(text));
    return 2;
}

// Naming a place for the installation asks for a process of its own; so does a command that works on what is here.
bool looksForConsole(const AppOptions& options, const QStringList& command)
{
    if (options.isSet(QStringLiteral("local")) || options.isSet(QStringLiteral("database")))
        return false;
    for (const CommandEntry* entry : commandTable()) {
        if (entry->isOfThisProcess && command.value(0) == QLatin1String(entry->name))
            return false;
    }
    return true;
}

// Runs until the console ends; the channel is deleted here unless its own thread does it.
int runConsole(QCoreApplication& app, Session& session, CAbstractCliIO* io, Console::Input input,
               const QStringList& arguments, bool stopsOnError)
{
    Console console(session, io, input);
    if (stopsOnError)
        console.stopOnError();
    onTerminationRequest(&app, [&console, &session](Termination request) {
        if (request == Termination::Interrupt)
            console.interrupt();
        else if (request == Termination::End || !console.isService())
            console.end();
        else
            session.reload();
    });
    console.begin(arguments);
    const int code = app.exec();
    ServiceManager::stopping();
    endSoon(code);
    return code;
}

// Without a terminal, for clients of a local socket.
int runSocketConsole(QCoreApplication& app, Session& session, const QString& name, const QStringList& arguments)
{
    SocketConsole console(session);
    QString error;
    if (!console.listen(name, error)) {
        failed(error);
        return 1;
    }
    onTerminationRequest(&app, [&console, &session](Termination request) {
        if (request != Termination::Hangup)
            console.end();
        else
            session.reload();
    });
    console.begin(arguments);
    const int code = app.exec();
    ServiceManager::stopping();
    endSoon(code);
    return code;
}

int run(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ServiceManager::begin();
    ServiceManager::watch(&app);
    QCoreApplication::setApplicationVersion(QStringLiteral(KYR_VERSION));
    AppOptions options(QStringLiteral("Manages an access-control installation: its devices, doors, users and rights."),
                       "KYR_CONSOLE");
    addGlobalOptions(options);
    if (!options.parse(app.arguments().mid(1)))
        return failed(options.error());
    const QStringList command = options.positional();
    if (options.isSet(QStringLiteral("help"))) {
        const QStringList lines = options.help(QStringLiteral("kyr_console")).split(QLatin1Char('\n'));
        for (const QString& line : wrappedHelp(lines, Terminal::size().columns))
            std::puts(qUtf8Printable(line));
        return 0;
    }
    if (options.isSet(QStringLiteral("version"))) {
        std::puts(KYR_VERSION);
        return 0;
    }
    // Who was refused stands in a line of the console's own, with label and address.
    QLoggingCategory::setFilterRules(QStringLiteral("kyr.link.refusals.warning=false"));
    // The command "log" shows what was logged, whether it goes to a file or not.
    CDebug::enableCircularBuffer(true);
    if (!applyLogOptions(options))
        return failed(options.error());

    const QStringList mistakes = mistakenVariables(options, commandTable());
    for (const QString& mistake : mistakes)
        std::fprintf(stderr, "kyr_console: %s\n", qUtf8Printable(mistake));
    const QString attachName = options.value(QStringLiteral("attach"));
    const QString socketName = options.value(QStringLiteral("socket"));
    const int patience = options.number(QStringLiteral("patience"), 1, 86400);
    if (!options.error().isEmpty())
        return failed(options.error());
    if (!attachName.isEmpty()) {
        QString error;
        const std::unique_ptr<QLocalSocket> socket = connectToConsole(attachName, error);
        if (!socket) {
            failed(error);
            return 1;
        }
        return runAttached(app, *socket, command, patience, options.isSet(QStringLiteral("stop-on-error")));
    }
    if (socketName.isEmpty() && looksForConsole(options, command)) {
        const FoundConsole found = findConsole();
        if (found.socket) {
            if (command.isEmpty() && Terminal::isInteractive())
                Terminal::show(
                    QStringLiteral("Using the console at %1 (--local: start a separate one).\n").arg(found.name));
            return runAttached(app, *found.socket, command, patience, options.isSet(QStringLiteral("stop-on-error")));
        }
        if (!found.note.isEmpty())
            std::fprintf(stderr, "kyr_console: %s; continuing without it\n", qUtf8Printable(found.note));
    }
    Session session(commandTable(), options.value(QStringLiteral("database")));
    session.setDatabaseAuthority(options.value(QStringLiteral("database-ca")));
    const bool stopsOnError = options.isSet(QStringLiteral("stop-on-error"));
    if (!socketName.isEmpty())
        return runSocketConsole(app, session, socketName, command);
    if (command.isEmpty() || (command.constFirst() == QLatin1String("serve") && Terminal::isInteractive())) {
        if (LineEditor::isPossible()) {
            LineEditor editor(QString::fromLatin1(Console::prompt), LineHistory::defaultFile());
            return runConsole(app, session, &editor, Console::Input::Terminal, command, stopsOnError);
        }
        const bool terminal = Terminal::isInteractive();
        return runConsole(app, session, new CStandardIOHandler(terminal ? Console::prompt : nullptr),
                          terminal ? Console::Input::Terminal : Console::Input::Pipe, command, stopsOnError);
    }
    CStandardIOHandler io(nullptr); // for its output only
    return runConsole(app, session, &io, Console::Input::Arguments, command, stopsOnError);
}

} // namespace

int main(int argc, char** argv)
{
    openStandardDescriptors();
    const int code = run(argc, argv);
    waitForOtherThreads();
    return code;
}
