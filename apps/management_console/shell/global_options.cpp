#include "shell/global_options.h"

#include "common/process_setup.h"
#include "server/open_model.h"
#include "shell/command.h"
#include "shell/no_output.h"

#include <QtCore/QProcessEnvironment>

#include <algorithm>
#include <memory>
#include <numeric>

namespace {

// So many letters may differ from a name for it to have been meant.
constexpr int mostDifferences = 2;

// Letters to change, add or take away to make one text of the other.
int differences(const QString& a, const QString& b)
{
    std::vector<int> row(size_t(b.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const int above = row[size_t(j)];
            const int changed = diagonal + (a.at(i - 1) == b.at(j - 1) ? 0 : 1);
            row[size_t(j)] = std::min({above + 1, row[size_t(j) - 1] + 1, changed});
            diagonal = above;
        }
    }
    return row.back();
}

} // namespace

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
        const auto nearest = std::min_element(all.begin(), all.end(), [&](const QString& a, const QString& b) {
            return differences(name, a) < differences(name, b);
        });
        told.append(differences(name, *nearest) <= mostDifferences
                        ? QStringLiteral("unknown environment variable %1: did you mean %2?").arg(name, *nearest)
                        : QStringLiteral("the environment variable %1 does not belong to any option").arg(name));
    }
    return told;
}
