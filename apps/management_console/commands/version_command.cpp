#include "shell/command.h"

#include <QtCore/QCoreApplication>

namespace {

class VersionCommand : public Command
{
public:
    using Command::Command;

    void start(AppOptions&) override
    {
        if (isJson())
            output().line(QStringLiteral("{\"version\":\"%1\"}").arg(QCoreApplication::applicationVersion()));
        else
            output().line(QCoreApplication::applicationVersion());
        done();
    }
};

} // namespace

extern const CommandEntry versionCommand = {"version", "Shows the version.", &makeCommand<VersionCommand>};
