#include "commands/model_command.h"
#include "commands/trial_installation.h"

#include <server/model/sql_access_control.h>

#include <QtCore/QJsonArray>
#include <QtCore/QTemporaryDir>

namespace {

constexpr int mostUsers = 1000000;
constexpr int mostDoors = 100000;
constexpr int mostGroups = 10000;
constexpr qint64 pieceSize = qint64(1024) * 1024;

class DatabaseCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"info", "", "shows where the installation is stored, and how many items it has",
             &startVerb<&DatabaseCommand::info>},
            {"check", "", "checks the whole database for faults", &startVerb<&DatabaseCommand::check>},
            {"backup", "FILE", "copies it to a new file, also while it is in use",
             &startVerb<&DatabaseCommand::backup>},
            {"fill", "", "adds users, doors and groups for trials", &startVerb<&DatabaseCommand::fill>,
             &addFillOptions},
        };
        return table;
    }

private:
    static void addFillOptions(AppOptions& options)
    {
        const TrialInstallation usual;
        const auto add = [&](const char* name, const char* text, int number) {
            options.addValue(QLatin1String(name), QStringLiteral("N"), QLatin1String(text), QString::number(number));
        };
        add("users", "number of users, each with ten properties, a card and five groups", usual.users);
        add("doors", "number of doors, in buildings of five floors", usual.doors);
        add("groups", "number of groups, with rights at up to 100 doors each", usual.groups);
    }

    void info(AppOptions&)
    {
        QVariantMap row;
        CModelReader::Page page;
        if (!read(
                [&](const CModelReader& reader) {
                    row = reader.counts();
                    return CModelReader::Page();
                },
                page))
            return;
        const CDatabase* database = model()->database();
        row.insert(QStringLiteral("location"), database->location());
        row.insert(QStringLiteral("backend"), database->backend());
        row.insert(QStringLiteral("version"), database->version());
        QVector<Table::Column> columns;
        QVariantList values;
        for (const char* key : {"location", "backend", "version", "users", "groups", "doors", "devices", "media",
                                "codes", "schedules", "holidays", "rights", "logins"}) {
            QString title = QLatin1String(key);
            title[0] = title.at(0).toUpper();
            columns.append({QLatin1String(key), title});
            values.append(row.value(QLatin1String(key)));
        }
        Table table(columns);
        table.addRow(values);
        printOne(table);
        done();
    }

    void check(AppOptions&)
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        output().progress(QStringLiteral("checking the database"));
        const QStringList faults = installation->database()->check();
        const QString location = installation->database()->location();
        const bool isGood = faults.isEmpty();
        if (isJson() || isGood)
            say(QStringLiteral("%1 is in order.").arg(location),
                {{QStringLiteral("location"), location},
                 {QStringLiteral("ok"), isGood},
                 {QStringLiteral("faults"), QJsonArray::fromStringList(faults)}});
        else
            output().lines(faults);
        if (!isGood)
            return fail(QStringLiteral("%1 is damaged: %2 faults").arg(location).arg(faults.size()));
        done();
    }

    void backup(AppOptions& options)
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        const QString file = options.positional().constFirst();
        if (output().files().areHere()) {
            if (!installation->database()->backup(file))
                return fail(installation->database()->errorString());
            return doneWriting(file, QStringLiteral("Wrote %1.").arg(file));
        }
        // The database writes the copy itself: here first, then it is the client's.
        const auto content = [installation](QIODevice& out) {
            const QTemporaryDir folder;
            QFile copy(folder.filePath(QStringLiteral("installation.db")));
            if (!folder.isValid())
                return folder.errorString();
            if (!installation->database()->backup(copy.fileName()))
                return installation->database()->errorString();
            if (!copy.open(QIODevice::ReadOnly))
                return copy.errorString();
            while (!copy.atEnd()) {
                if (out.write(copy.read(pieceSize)) < 0)
                    return out.errorString();
            }
            return QString();
        };
        writeFile(
            file, content, [this, file] { doneWriting(file, QStringLiteral("Wrote %1.").arg(file)); },
            OutputFile::Mode::New);
    }

    void fill(AppOptions& options)
    {
        TrialInstallation trial;
        trial.users = options.number(QStringLiteral("users"), 0, mostUsers);
        trial.doors = options.number(QStringLiteral("doors"), 0, mostDoors);
        trial.groups = options.number(QStringLiteral("groups"), 0, mostGroups);
        if (!options.error().isEmpty())
            return;
        const QStringList said{resultLine(QStringLiteral("Added %1 users, %2 doors and %3 groups.")
                                              .arg(trial.users)
                                              .arg(trial.doors)
                                              .arg(trial.groups),
                                          {{QStringLiteral("users"), trial.users},
                                           {QStringLiteral("doors"), trial.doors},
                                           {QStringLiteral("groups"), trial.groups}})};
        change(
            [&](CSqlAccessControl& model) {
                return trial.add(model, [this](const QString& text) { output().progress(text); });
            },
            &said);
    }
};

} // namespace

extern const CommandEntry databaseCommand = {
    "database", "Shows, checks, copies and fills the database of the installation.", &makeCommand<DatabaseCommand>};
