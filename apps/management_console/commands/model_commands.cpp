// The commands that work on the installation in memory. They see it as scripts do: ids are texts.
#include "commands/commands.h"
#include "common/save_file.h"
#include "shell/command.h"
#include "shell/table_model.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/formats/csv_writer.h>
#include <foundation/services/script_service.h>

namespace {

QString text(const QVariantMap& item, const char* name)
{
    return item.value(QLatin1String(name)).toString();
}

class ModelCommand : public Command
{
public:
    using Command::Command;

protected:
    CScriptService& service() { return session().scripts(); }

    QVariantList items(const QString& collection) { return service().getModel(collection, {}, {}); }

    QVariantList usersOrGroups(int itemClass)
    {
        QVariantList found;
        const QVariantList all = items(QStringLiteral("UsersGroups"));
        for (const QVariant& item : all) {
            if (item.toMap().value(QStringLiteral("class")).toInt() == itemClass)
                found.append(item);
        }
        return found;
    }

    // What the items with these ids are called.
    QStringList labels(const QString& collection, const QVariantList& ids)
    {
        QStringList found;
        const QVariantList all = items(collection);
        for (const QVariant& item : all) {
            if (ids.contains(text(item.toMap(), "id")))
                found.append(text(item.toMap(), "label"));
        }
        return found;
    }

    void conclude(const QVariant& result, const QString& what)
    {
        if (result.toString().isEmpty() || result.toString() == QLatin1String("0")
            || result.toString() == QLatin1String("false"))
            return fail(QStringLiteral("could not %1").arg(what));
        if (result.userType() != QMetaType::Bool)
            session().line(result.toString());
        done();
    }
};

class UsersCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override
    {
        options.addValue(QStringLiteral("csv"), QStringLiteral("FILE"),
                         QStringLiteral("write the table to a CSV file"));
        options.addPositional(QStringLiteral("[add LABEL | delete ID]"));
    }

    void start(AppOptions& options) override
    {
        const QStringList words = options.positional();
        if (words.size() == 2 && words.at(0) == QLatin1String("add"))
            return conclude(service().createUser({{QStringLiteral("label"), words.at(1)}}), QStringLiteral("add it"));
        if (words.size() == 2 && words.at(0) == QLatin1String("delete"))
            return conclude(service().deleteUser(words.at(1)), QStringLiteral("delete it: no such user"));
        if (!words.isEmpty())
            return options.setError(QStringLiteral("takes add LABEL or delete ID"));

        Table table({{QStringLiteral("id"), QStringLiteral("Id")},
                     {QStringLiteral("label"), QStringLiteral("Name")},
                     {QStringLiteral("department"), QStringLiteral("Department")},
                     {QStringLiteral("email"), QStringLiteral("E-mail")},
                     {QStringLiteral("groups"), QStringLiteral("Groups")},
                     {QStringLiteral("accessPoints"), QStringLiteral("Doors")},
                     {QStringLiteral("media"), QStringLiteral("Media")}});
        const QVariantList users = usersOrGroups(UserClassUser);
        for (const QVariant& item : users) {
            const QVariantMap user = item.toMap();
            const QString id = text(user, "id");
            table.addRow({id, text(user, "label"), text(user, "Department"), text(user, "Email"),
                          labels(QStringLiteral("UsersGroups"), service().getGroupsOfUser(id)),
                          labels(QStringLiteral("AccessPoints"), service().getAccessPointsOfUser(id)),
                          labels(QStringLiteral("Media"), service().getRfidMediaOfUser(id))});
        }
        if (!options.isSet(QStringLiteral("csv"))) {
            print(table);
            return done();
        }
        writeCsv(table, options.value(QStringLiteral("csv")));
    }

private:
    void writeCsv(const Table& table, const QString& name)
    {
        TableModel model(table);
        session().progress(QStringLiteral("writing %1 rows").arg(table.rowCount()));
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
        session().line(QStringLiteral("Wrote %1 users to %2.").arg(table.rowCount()).arg(name));
        done();
    }
};

class GroupsCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("[add LABEL | delete ID | join ID USER... | leave ID USER...]"));
    }

    void start(AppOptions& options) override
    {
        const QStringList words = options.positional();
        const QString action = words.value(0);
        if (words.size() == 2 && action == QLatin1String("add"))
            return conclude(service().createGroup({{QStringLiteral("label"), words.at(1)}}), QStringLiteral("add it"));
        if (words.size() == 2 && action == QLatin1String("delete"))
            return conclude(service().deleteGroup(words.at(1)), QStringLiteral("delete it: no such group"));
        if (words.size() >= 3 && action == QLatin1String("join"))
            return conclude(service().addUsersToGroup(words.mid(2), words.at(1)),
                            QStringLiteral("do that: no such group or user"));
        if (words.size() >= 3 && action == QLatin1String("leave"))
            return conclude(service().removeUsersFromGroup(words.mid(2), words.at(1)),
                            QStringLiteral("do that: no such group or user"));
        if (!words.isEmpty())
            return options.setError(QStringLiteral("takes add, delete, join or leave with their arguments"));

        Table table({{QStringLiteral("id"), QStringLiteral("Id")},
                     {QStringLiteral("label"), QStringLiteral("Name")},
                     {QStringLiteral("users"), QStringLiteral("Users")}});
        const QVariantList groups = usersOrGroups(UserClassGroup);
        for (const QVariant& item : groups) {
            const QString id = text(item.toMap(), "id");
            table.addRow({id, text(item.toMap(), "label"),
                          labels(QStringLiteral("UsersGroups"), service().getUsersOfGroup(id))});
        }
        print(table);
        done();
    }
};

class MediaCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override { options.addPositional(QStringLiteral("[give ID... USER]")); }

    void start(AppOptions& options) override
    {
        const QStringList words = options.positional();
        if (words.size() >= 3 && words.at(0) == QLatin1String("give"))
            return conclude(service().addRfidMediaToUser(words.mid(1, words.size() - 2), words.constLast()),
                            QStringLiteral("do that: no such medium or user"));
        if (!words.isEmpty())
            return options.setError(QStringLiteral("takes give with media and a user"));

        Table table({{QStringLiteral("id"), QStringLiteral("Id")},
                     {QStringLiteral("label"), QStringLiteral("Label")},
                     {QStringLiteral("description"), QStringLiteral("Description")},
                     {QStringLiteral("type"), QStringLiteral("Type")},
                     {QStringLiteral("uid"), QStringLiteral("UID")},
                     {QStringLiteral("user"), QStringLiteral("User")},
                     {QStringLiteral("validTo"), QStringLiteral("Valid to")}});
        const QVariantList media = items(QStringLiteral("Media"));
        for (const QVariant& item : media) {
            const QVariantMap medium = item.toMap();
            const auto type = CDataType::cardMediumTypeCast(medium.value(QStringLiteral("mediumType")).toInt());
            table.addRow({text(medium, "id"), text(medium, "publicMediaLabel"), text(medium, "description"),
                          QString::fromUtf8(CDataType::cardMediumTypeToString(type)),
                          CDataType::rfidUidToLabel(medium.value(QStringLiteral("uid")).toByteArray()),
                          labels(QStringLiteral("UsersGroups"), {text(medium, "userId")}).value(0),
                          medium.value(QStringLiteral("validTo")).toDateTime().toString(Qt::ISODate)});
        }
        print(table);
        done();
    }
};

class MappingCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override { options.addPositional(QStringLiteral("NAME")); }

    void start(AppOptions& options) override
    {
        if (options.positional().size() != 1)
            return options.setError(QStringLiteral("takes the name of an enumeration, such as DeviceType"));
        const QString name = options.positional().constFirst();
        const QVariantMap mapping = service().getMapping(name);
        if (mapping.isEmpty())
            return fail(QStringLiteral("there is no enumeration \"%1\"").arg(name));
        QMap<qint64, QString> byValue; // the keys are texts, "10" before "9"
        for (auto entry = mapping.cbegin(); entry != mapping.cend(); ++entry)
            byValue.insert(entry.key().toLongLong(), entry.value().toString());
        Table table(
            {{QStringLiteral("value"), QStringLiteral("Value")}, {QStringLiteral("text"), QStringLiteral("Text")}});
        for (auto entry = byValue.cbegin(); entry != byValue.cend(); ++entry)
            table.addRow({int(entry.key()), entry.value()});
        print(table);
        done();
    }
};

} // namespace

Command* createUsersCommand(Session& session)
{
    return new UsersCommand(session);
}

Command* createGroupsCommand(Session& session)
{
    return new GroupsCommand(session);
}

Command* createMediaCommand(Session& session)
{
    return new MediaCommand(session);
}

Command* createMappingCommand(Session& session)
{
    return new MappingCommand(session);
}
