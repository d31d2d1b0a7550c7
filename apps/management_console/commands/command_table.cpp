#include "shell/command.h"

#include "commands/commands.h"

const std::vector<CommandEntry>& commandTable()
{
    static const std::vector<CommandEntry> table = {
        {"discover", "Finds devices on the network.", &createDiscoverCommand},
        {"serve", "Lets devices call in, in the background.", &createServeCommand},
        {"devices", "Shows the devices that are linked, or those that were refused.", &createDevicesCommand},
        {"send", "Sends a message to a device and shows its answer.", &createSendCommand},
        {"users", "Shows and changes the users of the demonstration installation, or writes them to a file.",
         &createUsersCommand},
        {"groups", "Shows and changes its groups.", &createGroupsCommand},
        {"media", "Shows its cards and key fobs, or gives them to a user.", &createMediaCommand},
        {"mapping", "Shows the values and texts of an enumeration.", &createMappingCommand},
        {"report", "Makes a report of users as PDF.", &createReportCommand},
        {"mail", "Checks the settings of a mail server, or sends a mail.", &createMailCommand},
        {"firmware", "Checks a firmware file and shows what is in it.", &createFirmwareCommand},
        {"log", "Shows the last lines of the log.", &createLogCommand},
        {"help", "Lists the commands, or the options of one.", &createHelpCommand},
        {"quit", "Ends the console.", &createQuitCommand},
    };
    return table;
}
