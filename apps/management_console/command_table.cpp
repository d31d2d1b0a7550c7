#include "command.h"

#include "commands/commands.h"

const std::vector<CommandEntry>& commandTable()
{
    static const std::vector<CommandEntry> table = {
        {"discover", "Finds devices on the network.", &createDiscoverCommand},
        {"help", "Lists the commands, or the options of one.", &createHelpCommand},
        {"quit", "Ends the console.", &createQuitCommand},
    };
    return table;
}
