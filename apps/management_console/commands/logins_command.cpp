#include "commands/model_command.h"

#include <foundation/datatypes/permission.h>
#include <server/model/sql_access_control.h>

namespace {

// Of a password's file, which may hold notes below its first line.
constexpr qint64 longestFile = 1024 * 1024;

struct Right
{
    QString name;
    unsigned int bit;
};

// "UsersRead": the words of its text without the blanks.
const QVector<Right>& rights()
{
    static const QVector<Right> all = [] {
        QVector<Right> found;
        for (unsigned int bit = PermissionLoginWrite; bit <= PermissionSmartAccess; bit <<= 1) {
            const QString text = QString::fromLatin1(CPermission::name(Permission(bit)));
            found.append({QString(text).remove(QLatin1Char(' ')), bit});
        }
        return found;
    }();
    return all;
}

QStringList namesOf(unsigned int permissions)
{
    if (permissions == PermissionAdministrator)
        return {QStringLiteral("Administrator")};
    QStringList names;
    for (const Right& right : rights()) {
        if ((permissions & right.bit) != 0)
            names.append(right.name);
    }
    return names;
}

class LoginsCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows who may log in", &startVerb<&LoginsCommand::showAll>},
            {"add", "NAME USER", "lets a user log in under a name", &startVerb<&LoginsCommand::add>,
             &addPasswordOption},
            {"password", "NAME", "gives a login another password", &startVerb<&LoginsCommand::setPassword>,
             &addPasswordOption},
            {"permit", "NAME PERMISSION...",
             "sets all that a login may do: UsersRead, UsersWrite, ..., Administrator, or none",
             &startVerb<&LoginsCommand::permit>},
            {"remove", "NAME", "takes a login away", &startVerb<&LoginsCommand::remove>},
        };
        return table;
    }

    void takeInput(const QString& line) override { givePassword(line); }
    void takeInputEnd() override { fail(QStringLiteral("a password is needed")); }

private:
    static void addPasswordOption(AppOptions& options)
    {
        options.addValue(QStringLiteral("password-file"), QStringLiteral("FILE"),
                         QStringLiteral("its first line is the password; without it the password is asked for"));
    }

    void add(AppOptions& options)
    {
        if (!find(Named::User, options.positional().at(1), m_user))
            return;
        m_isNew = true;
        readPassword(options);
    }

    void setPassword(AppOptions& options)
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        if (installation->getLogin(options.positional().constFirst()).isEmpty())
            return fail(QStringLiteral("there is no login \"%1\"").arg(options.positional().constFirst()));
        readPassword(options);
    }

    void readPassword(AppOptions& options)
    {
        m_login = options.positional().constFirst();
        if (!options.isSet(QStringLiteral("password-file"))) {
            Q_EMIT passwordWanted(QStringLiteral("Password: "));
            return;
        }
        readFile(options.value(QStringLiteral("password-file")), longestFile, [this](const QByteArray& bytes) {
            QByteArray line = bytes.split('\n').constFirst();
            while (line.endsWith('\r'))
                line.chop(1);
            givePassword(QString::fromUtf8(line));
        });
    }

    void givePassword(const QString& password)
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        const bool stored = m_isNew ? installation->addLogin(m_login, m_user, password)
                                    : installation->setLoginPassword(m_login, password);
        if (!stored)
            return fail(installation->errorString());
        if (m_isNew)
            output().line(m_login);
        done();
    }

    void permit(AppOptions& options)
    {
        const QStringList words = options.positional().mid(1);
        unsigned int permissions = PermissionNone;
        for (const QString& word : words) {
            unsigned int bit = PermissionNone;
            for (const Right& right : rights()) {
                if (right.name.compare(word, Qt::CaseInsensitive) == 0)
                    bit = right.bit;
            }
            if (word.compare(QLatin1String("Administrator"), Qt::CaseInsensitive) == 0)
                bit = PermissionAdministrator;
            const bool isNone = word.compare(QLatin1String("none"), Qt::CaseInsensitive) == 0;
            if (bit == PermissionNone && (!isNone || words.size() > 1))
                return options.setError(
                    isNone ? QStringLiteral("\"none\" stands alone")
                           : QStringLiteral("there is no permission \"%1\": there are %2, Administrator")
                                 .arg(word, allNames().join(QLatin1String(", "))));
            permissions |= bit;
        }
        const QString login = options.positional().constFirst();
        change([&](CSqlAccessControl& model) { return model.setLoginPermissions(login, permissions); });
    }

    static QStringList allNames()
    {
        QStringList names;
        for (const Right& right : rights())
            names.append(right.name);
        return names;
    }

    void remove(AppOptions& options)
    {
        const QString login = options.positional().constFirst();
        change([&](CSqlAccessControl& model) { return model.removeLogin(login); });
    }

    void showAll(AppOptions&)
    {
        CModelReader::Page page;
        if (!read(
                [](const CModelReader& reader) {
                    CModelReader::Page all;
                    all.rows = reader.logins();
                    for (QVariantMap& row : all.rows)
                        row.insert(QStringLiteral("permissions"),
                                   namesOf(row.value(QStringLiteral("permissions")).toUInt()));
                    return all;
                },
                page))
            return;
        show(Table({{QStringLiteral("name"), QStringLiteral("Name")},
                    {QStringLiteral("user"), QStringLiteral("User")},
                    {QStringLiteral("userId"), QString()},
                    {QStringLiteral("permissions"), QStringLiteral("Permissions")}}),
             page);
    }

    QString m_login;
    CItemId m_user;
    bool m_isNew = false;
};

} // namespace

extern const CommandEntry loginsCommand = {"logins", "Shows and changes who may log in, and what a login may do.",
                                           &makeCommand<LoginsCommand>};
