#include "commands/model_command.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/script_service.h>

namespace {

class GroupsCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows them", &startVerb<&GroupsCommand::show>, &ListOptions::add},
            {"add", "LABEL", "makes one and prints its id", &startVerb<&GroupsCommand::add>},
            {"delete", "ID", "takes one away", &startVerb<&GroupsCommand::remove>},
            {"join", "GROUP USER...", "puts users into a group", &startVerb<&GroupsCommand::join>},
            {"leave", "GROUP USER...", "takes users out of a group", &startVerb<&GroupsCommand::leave>},
        };
        return table;
    }

private:
    void add(AppOptions& options)
    {
        if (CScriptService* scripts = service())
            conclude(scripts->createGroup({{QStringLiteral("label"), options.positional().constFirst()}}),
                     QStringLiteral("add it"));
    }

    void remove(AppOptions& options)
    {
        if (CScriptService* scripts = service())
            conclude(scripts->deleteGroup(options.positional().constFirst()),
                     QStringLiteral("delete it: no such group"));
    }

    void join(AppOptions& options)
    {
        const QStringList words = options.positional();
        if (CScriptService* scripts = service())
            conclude(scripts->addUsersToGroup(words.mid(1), words.constFirst()),
                     QStringLiteral("do that: no such group or user"));
    }

    void leave(AppOptions& options)
    {
        const QStringList words = options.positional();
        if (CScriptService* scripts = service())
            conclude(scripts->removeUsersFromGroup(words.mid(1), words.constFirst()),
                     QStringLiteral("do that: no such group or user"));
    }

    void show(AppOptions& options)
    {
        Table table({{QStringLiteral("id"), QStringLiteral("Id")},
                     {QStringLiteral("label"), QStringLiteral("Name")},
                     {QStringLiteral("users"), QStringLiteral("Users")}});
        CScriptService* scripts = service();
        if (!scripts)
            return;
        const QVariantList groups = selected(usersOrGroups(UserClassGroup), options);
        if (!options.error().isEmpty())
            return;
        for (const QVariant& item : groups) {
            const QString id = text(item.toMap(), "id");
            table.addRow(
                {id, text(item.toMap(), "label"), labels(QStringLiteral("UsersGroups"), scripts->getUsersOfGroup(id))});
        }
        print(table);
        done();
    }
};

} // namespace

extern const CommandEntry groupsCommand = {"groups", "Shows and changes the groups of users.",
                                           &makeCommand<GroupsCommand>};
