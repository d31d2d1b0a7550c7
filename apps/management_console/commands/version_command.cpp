#include "shell/command.h"

#include <QtCore/QCoreApplication>

namespace {

class VersionCommand : public Command
{
public:
    using Command::Command;

    void start(AppOptions&) override
    {
        const QString version = QCoreApplication::applicationVersion();
        say(version, {{QStringLiteral("version"), version}});
        done();
    }
};

} // namespace

extern const CommandEntry versionCommand = {"version", "Shows the version.", &makeCommand<VersionCommand>};
