#include "shell/global_options.h"

#include "common/log_setup.h"
#include "common/spelling.h"
#include "server/open_model.h"
#include "shell/command.h"
#include "shell/no_output.h"

#include <QtCore/QProcessEnvironment>

#include <algorithm>
#include <memory>

void addGlobalOptions(AppOptions& options)
{
    options.addValue(QStringLiteral("socket"), QStringLiteral("NAME"),
                     QStringLiteral("take commands from a local socket instead of the terminal"));
    options.addValue(QStringLiteral("attach"), QStringLiteral("NAME"),
                     QStringLiteral("talk to a console that was started with --socket"));
    options.addSwitch(QStringLiteral("local"),
                      QStringLiteral("do not use a console that already runs; start a separate one"));
    options.addSwitch(QStringLiteral("stop-on-error"),
                      QStringLiteral("stop at the first failed command of standard input"));
    options.addValue(QStringLiteral("patience"), QStringLiteral("S"),
                     QStringLiteral("with --attach: give up when the console is silent for this time"),
                     QStringLiteral("30"));
    options.addValue(QStringLiteral("database"), QStringLiteral("LOCATION"),
                     QStringLiteral("where the installation is stored: a file, postgresql://[USER@]HOST[:PORT]/NAME, "
                                    "or memory for a demonstration (%1)")
                         .arg(defaultDatabase()));
    options.addValue(QStringLiteral("database-ca"), QStringLiteral("FILE"),
                     QStringLiteral("authority for the database server's certificate, PEM"));
    addLogOptions(options, QStringLiteral("INF"), QStringLiteral("none"));
    options.addSwitch(QStringLiteral("version"), QStringLiteral("show the version"));
    options.addPositional(QStringLiteral("[COMMAND [its options]] (without a command: interactive; see: help)"));
    options.stopAtPositional();
}

QStringList mistakenVariables(const AppOptions& global, const std::vector<const CommandEntry*>& commands)
{
    QStringList strange = QProcessEnvironment::systemEnvironment().keys().filter(QLatin1String("KYR_CONSO"));
    const QStringList known = global.variables();
    const auto isKnown = [](const QStringList& names) {
        return
            [&names](const QString& name) { return names.contains(name) || !name.startsWith(QLatin1String("KYR_")); };
    };
    strange.erase(std::remove_if(strange.begin(), strange.end(), isKnown(known)), strange.end());
    if (strange.isEmpty())
        return {};
    QStringList all = known;
    Session session(commands);
    NoOutput nothing;
    for (const CommandEntry* entry : commands) {
        const std::unique_ptr<Command> command(entry->create(session, nothing));
        all += command->variables(QLatin1String(entry->name));
    }
    strange.erase(std::remove_if(strange.begin(), strange.end(), isKnown(all)), strange.end());
    QStringList told;
    for (const QString& name : qAsConst(strange)) {
        const QString meant = meantWord(name, all);
        told.append(meant.isEmpty()
                        ? QStringLiteral("the environment variable %1 does not belong to any option").arg(name)
                        : QStringLiteral("unknown environment variable %1: did you mean %2?").arg(name, meant));
    }
    return told;
}
