// The ways out: of the prompt or the connection, and of the program.
#include "shell/command.h"

namespace {

class LeaveCommand : public Command
{
public:
    using Command::Command;

    void start(AppOptions&) override
    {
        Q_EMIT leaveWanted();
        done();
    }
};

class ShutdownCommand : public Command
{
public:
    using Command::Command;

    void start(AppOptions&) override
    {
        // First, or the end of all commands would end this one as interrupted.
        done();
        session().shutDown();
    }
};

} // namespace

extern const CommandEntry quitCommand = {
    "quit", "Leaves the prompt, or the connection to a console that keeps running.", &makeCommand<LeaveCommand>};
extern const CommandEntry exitCommand = {"exit", "The same as quit.", &makeCommand<LeaveCommand>};
extern const CommandEntry shutdownCommand = {"shutdown", "Ends the console, even one that runs as a service.",
                                             &makeCommand<ShutdownCommand>};
