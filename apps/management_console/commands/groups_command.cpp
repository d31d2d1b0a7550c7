#include "commands/item_command.h"

#include <server/model/sql_access_control.h>

namespace {

class GroupsCommand : public ItemCommand
{
public:
    GroupsCommand(Session& session, Output& output)
        : ItemCommand(session, output, Named::Group, "UsersGroups")
    {
    }

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the groups", &startVerb<&GroupsCommand::showAll>, &ListOptions::add},
            {"add", "LABEL [KEY=VALUE...]", "adds a group and prints its id", &startVerb<&GroupsCommand::add>},
            {"set", "GROUP KEY=VALUE...", "changes properties; KEY= removes one", &startVerb<&GroupsCommand::set>},
            {"remove", "GROUP...", "removes groups", &startVerb<&GroupsCommand::remove>},
            {"delete", "GROUP...", "the same as remove", &startVerb<&GroupsCommand::remove>},
            {"join", "GROUP USER...", "adds users to a group", &startVerb<&GroupsCommand::join>},
            {"leave", "GROUP USER...", "removes users from a group", &startVerb<&GroupsCommand::leave>},
        };
        return table;
    }

private:
    using Change = bool (CSqlAccessControl::*)(const QList<CItemId>&, CItemId);

    void join(AppOptions& options) { changeMembers(options, &CSqlAccessControl::addUsersToGroup, false); }
    void leave(AppOptions& options) { changeMembers(options, &CSqlAccessControl::removeUsersFromGroup, true); }

    void changeMembers(AppOptions& options, Change changeGroup, bool takesAway)
    {
        const QStringList words = options.positional();
        CItemId group;
        QList<CItemId> users;
        if (!find(Named::Group, words.constFirst(), group) || !findAll(Named::User, words.mid(1), users))
            return;
        if (takesAway)
            watchDoors({group});
        change([&](CSqlAccessControl& model) { return (model.*changeGroup)(users, group); });
    }

    void showAll(AppOptions& options)
    {
        CModelReader::Query query;
        CModelReader::Page page;
        if (!readQuery(options, query) || !read([&](const CModelReader& reader) { return reader.groups(query); }, page))
            return;
        show(Table({{QStringLiteral("id"), QStringLiteral("Id")},
                    {QStringLiteral("label"), QStringLiteral("Name")},
                    {QStringLiteral("users"), QStringLiteral("Users")},
                    {QStringLiteral("userIds"), QString()},
                    {QStringLiteral("accessPoints"), QStringLiteral("Doors")},
                    {QStringLiteral("accessPointIds"), QString()},
                    {QStringLiteral("properties"), QString()}}),
             page);
    }
};

} // namespace

extern const CommandEntry groupsCommand = {"groups", "Shows and changes the groups of users.",
                                           &makeCommand<GroupsCommand>};
