#include "commands/item_command.h"
#include "commands/users_csv.h"

#include <foundation/formats/csv_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QTemporaryDir>

namespace {

class UsersCommand : public ItemCommand
{
public:
    UsersCommand(Session& session, Output& output)
        : ItemCommand(session, output, Named::User, "UsersGroups")
    {
    }

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the users, or writes them to a file", &startVerb<&UsersCommand::showAll>, &addShowOptions},
            {"add", "LABEL [KEY=VALUE...]", "adds a user and prints the id (Department= Email= or any other key)",
             &startVerb<&UsersCommand::add>},
            {"set", "USER KEY=VALUE...",
             "changes properties; KEY= removes one, enabled=false takes the user out of service",
             &startVerb<&UsersCommand::set>},
            {"remove", "USER...", "removes users", &startVerb<&UsersCommand::remove>},
            {"delete", "USER...", "the same as remove", &startVerb<&UsersCommand::remove>},
            {"import", "FILE", "imports users from a CSV file, all or none", &startVerb<&UsersCommand::readImport>,
             &addImportOptions},
        };
        return table;
    }

private:
    static void addShowOptions(AppOptions& options)
    {
        options.addValue(
            QStringLiteral("csv"), QStringLiteral("FILE"),
            QStringLiteral("write the users to a CSV file, with all properties unless --columns is given"));
        ListOptions::add(options);
    }

    static void addImportOptions(AppOptions& options)
    {
        options.addSwitch(QStringLiteral("dry-run"), QStringLiteral("only show what would change"));
    }

    void showAll(AppOptions& options)
    {
        CModelReader::Query query;
        CModelReader::Page page;
        if (!readQuery(options, query) || !read([&](const CModelReader& reader) { return reader.users(query); }, page))
            return;
        QVector<Table::Column> columns;
        for (const UsersCsv::Column& column : UsersCsv::columns())
            columns.append({QLatin1String(column.key), QLatin1String(column.title)});
        for (const char* key : {"groupIds", "accessPointIds", "mediaIds", "enabled", "properties"})
            columns.append({QLatin1String(key), QString()});
        if (tableOptions().csvFile().isNull() || tableOptions().hasColumns())
            return show(Table(columns), page);
        QString mistake;
        if (!sortRows(Table(columns), page.rows, mistake))
            return options.setError(mistake);
        writeCsv(page, tableOptions().csvFile());
    }

    void writeCsv(const CModelReader::Page& page, const QString& name)
    {
        output().progress(QStringLiteral("writing %1 rows").arg(page.rows.size()));
        const auto content = [page, isGuarded = tableOptions().isCsvGuarded()](QIODevice& file) {
            UsersCsv::write(file, page.rows, isGuarded);
            return QString();
        };
        writeFile(name, content, [this, page, name] {
            tellLeftOut(page);
            doneWriting(name, QStringLiteral("Wrote %1 users to %2.").arg(page.rows.size()).arg(name));
        });
    }

    void readImport(AppOptions& options)
    {
        const bool isTrial = options.isSet(QStringLiteral("dry-run"));
        readFile(options.positional().constFirst(), CCsvReader::longestFile,
                 [this, isTrial](const QByteArray& bytes) { import(bytes, isTrial); });
    }

    void import(const QByteArray& bytes, bool isTrial)
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        if (!isTrial || installation->database()->exists())
            return run(*installation, bytes, isTrial);
        // To try it must not make the installation's file.
        const QTemporaryDir folder;
        CSqlAccessControl scratch;
        if (!folder.isValid() || !scratch.open(folder.filePath(QStringLiteral("installation.db"))))
            return fail(folder.isValid() ? scratch.errorString() : folder.errorString());
        run(scratch, bytes, true);
    }

    void run(CSqlAccessControl& installation, const QByteArray& bytes, bool isTrial)
    {
        UsersCsv::Outcome outcome;
        QString error;
        bool good = false;
        const auto progress = [this](const QString& text) { output().progress(text); };
        const bool stored = installation.changeAll([&] {
            good = UsersCsv::read(installation, bytes, progress, outcome, error);
            return good && !isTrial;
        });
        if (!stored && !isTrial && isHeldUp())
            return;
        if (!error.isEmpty())
            return fail(error);
        if (!stored && !(good && isTrial))
            return fail(installation.errorString());
        const char* text = isTrial ? "Would add %1 users, change %2 and leave %3 as they are."
                                   : "Added %1 users, changed %2 and left %3 as they were.";
        say(QString::fromLatin1(text).arg(outcome.added).arg(outcome.changed).arg(outcome.unchanged),
            {{QStringLiteral("added"), outcome.added},
             {QStringLiteral("changed"), outcome.changed},
             {QStringLiteral("unchanged"), outcome.unchanged},
             {QStringLiteral("dryRun"), isTrial}});
        done();
    }
};

} // namespace

extern const CommandEntry usersCommand = {"users", "Shows, changes, imports and exports the users.",
                                          &makeCommand<UsersCommand>};
