#include "command.h"

#include "commands/commands.h"

const std::vector<CommandEntry>& commandTable()
{
    static const std::vector<CommandEntry> table = {
        {"discover", "Finds devices on the network.", &createDiscoverCommand},
        {"serve", "Lets devices call in, in the background.", &createServeCommand},
        {"devices", "Shows the devices that are linked, or those that were refused.", &createDevicesCommand},
        {"send", "Sends a message to a device and shows its answer.", &createSendCommand},
        {"firmware", "Checks a firmware file and shows what is in it.", &createFirmwareCommand},
        {"log", "Shows the last lines of the log.", &createLogCommand},
        {"help", "Lists the commands, or the options of one.", &createHelpCommand},
        {"quit", "Ends the console.", &createQuitCommand},
    };
    return table;
}
