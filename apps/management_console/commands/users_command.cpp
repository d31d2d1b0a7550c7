#include "commands/model_command.h"
#include "common/save_file.h"
#include "shell/table_model.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/formats/csv_writer.h>
#include <foundation/services/script_service.h>

namespace {

class UsersCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows them, or writes them to a file", &startVerb<&UsersCommand::show>, &addShowOptions},
            {"add", "LABEL [KEY=VALUE...]", "makes one and prints its id", &startVerb<&UsersCommand::add>},
            {"remove", "ID...", "takes some away", &startVerb<&UsersCommand::remove>},
            {"delete", "ID...", "the same", &startVerb<&UsersCommand::remove>},
        };
        return table;
    }

private:
    static void addShowOptions(AppOptions& options)
    {
        ListOptions::add(options);
        options.addValue(QStringLiteral("csv"), QStringLiteral("FILE"),
                         QStringLiteral("write the table to a CSV file"));
    }

    void add(AppOptions& options)
    {
        const QStringList words = options.positional();
        QVector<KeyValue> values;
        if (!readKeyValues(words.mid(1), values, options) || !service())
            return;
        QVariantMap properties{{QStringLiteral("label"), words.constFirst()}};
        for (const KeyValue& value : qAsConst(values))
            properties.insert(value.key, value.value);
        conclude(service()->createUser(properties), QStringLiteral("add it"));
    }

    void remove(AppOptions& options)
    {
        const QStringList ids = options.positional();
        const QVariantList users = usersOrGroups(UserClassUser);
        QStringList known;
        for (const QVariant& user : users)
            known.append(text(user.toMap(), "id"));
        for (const QString& id : ids) {
            if (!known.contains(id))
                return fail(QStringLiteral("there is no user \"%1\"").arg(id));
        }
        if (!service())
            return;
        for (const QString& id : ids) {
            if (!service()->deleteUser(id).toBool())
                return fail(QStringLiteral("could not take away user %1").arg(id));
        }
        done();
    }

    void show(AppOptions& options)
    {
        Table table({{QStringLiteral("id"), QStringLiteral("Id")},
                     {QStringLiteral("label"), QStringLiteral("Name")},
                     {QStringLiteral("department"), QStringLiteral("Department")},
                     {QStringLiteral("email"), QStringLiteral("E-mail")},
                     {QStringLiteral("groups"), QStringLiteral("Groups")},
                     {QStringLiteral("accessPoints"), QStringLiteral("Doors")},
                     {QStringLiteral("media"), QStringLiteral("Media")}});
        CScriptService* scripts = service();
        if (!scripts)
            return;
        const QVariantList users = selected(usersOrGroups(UserClassUser), options);
        if (!options.error().isEmpty())
            return;
        for (const QVariant& item : users) {
            const QVariantMap user = item.toMap();
            const QString id = text(user, "id");
            table.addRow({id, text(user, "label"), text(user, "Department"), text(user, "Email"),
                          labels(QStringLiteral("UsersGroups"), scripts->getGroupsOfUser(id)),
                          labels(QStringLiteral("AccessPoints"), scripts->getAccessPointsOfUser(id)),
                          labels(QStringLiteral("Media"), scripts->getRfidMediaOfUser(id))});
        }
        if (options.isSet(QStringLiteral("csv")))
            return writeCsv(table, options.value(QStringLiteral("csv")));
        print(table);
        done();
    }

    void writeCsv(const Table& table, const QString& name)
    {
        TableModel model(table);
        output().progress(QStringLiteral("writing %1 rows").arg(table.rowCount()));
        CCsvWriter writer;
        writer.setModel(&model, QModelIndex());
        QList<int> columns;
        for (int column = 0; column < table.columnCount(); ++column)
            columns.append(column);
        writer.setColumns(columns);
        QString error;
        if (!saveFile(
                name, [&writer](QIODevice& file) { writer.write(&file); }, error))
            return fail(error);
        output().line(QStringLiteral("Wrote %1 users to %2.").arg(table.rowCount()).arg(name));
        done();
    }
};

} // namespace

extern const CommandEntry usersCommand = {"users", "Shows and changes the users of the installation.",
                                          &makeCommand<UsersCommand>};
