#include "commands/command_table.h"

#include "shell/command.h"

// Each is defined at the end of its source in this folder.
#define KYR_COMMANDS(entry)                                                                                            \
    entry(users) entry(groups) entry(doors) entry(media) entry(codes) entry(schedules) entry(holidays) entry(grant)    \
        entry(revoke) entry(access) entry(logins) entry(database) entry(discover) entry(serve) entry(status)           \
            entry(devices) entry(send) entry(sync) entry(open) entry(events) entry(audit) entry(mapping) entry(report) \
                entry(mail) entry(script) entry(firmware) entry(log) entry(completion) entry(version) entry(help)      \
                    entry(quit) entry(exit) entry(shutdown)

#define KYR_DECLARE_COMMAND(name) extern const CommandEntry name##Command;
KYR_COMMANDS(KYR_DECLARE_COMMAND)

const std::vector<const CommandEntry*>& commandTable()
{
#define KYR_LIST_COMMAND(name) &name##Command,
    static const std::vector<const CommandEntry*> table = {KYR_COMMANDS(KYR_LIST_COMMAND)};
    return table;
}
