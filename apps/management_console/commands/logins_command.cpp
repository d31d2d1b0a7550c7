#include "commands/model_command.h"

#include <server/model/permission_names.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QUrl>

#include <algorithm>

namespace {

// Of a password's file, which may hold notes below its first line.
constexpr qint64 longestFile = qint64(1024) * 1024;

class LoginsCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the logins", &startVerb<&LoginsCommand::showAll>, &TableOptions::add},
            {"add", "NAME USER", "adds a login for a user", &startVerb<&LoginsCommand::add>, &addPasswordOption},
            {"password", "LOGIN", "changes the password", &startVerb<&LoginsCommand::setPassword>, &addPasswordOption},
            {"permit", "LOGIN PERMISSION...",
             "sets all permissions of a login: UsersRead, UsersWrite, ..., Administrator, or none",
             &startVerb<&LoginsCommand::permit>},
            {"otp", "LOGIN", "requires one-time passwords as well, and prints the URI for an authenticator program",
             &startVerb<&LoginsCommand::setOtp>, &addOtpOptions},
            {"remove", "LOGIN...", "removes logins", &startVerb<&LoginsCommand::remove>},
        };
        return table;
    }

    void takeInput(const QString& line) override { givePassword(line); }
    void takeInputEnd() override { fail(QStringLiteral("a password is needed")); }

private:
    static void addPasswordOption(AppOptions& options)
    {
        options.addValue(QStringLiteral("password-file"), QStringLiteral("FILE"),
                         QStringLiteral("file whose first line is the password (default: ask for it)"));
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
            say(m_login, {{QStringLiteral("name"), m_login}});
        done();
    }

    void permit(AppOptions& options)
    {
        const QStringList words = options.positional().mid(1);
        Permissions permissions;
        for (const QString& word : words) {
            const bool isNone = word.compare(QLatin1String("none"), Qt::CaseInsensitive) == 0;
            const auto permission = permissionFromName(word);
            if (!permission && (!isNone || words.size() > 1))
                return options.setError(
                    isNone ? QStringLiteral("\"none\" cannot be combined with permissions")
                           : QStringLiteral("there is no permission \"%1\"; the permissions are %2, Administrator")
                                 .arg(word, allPermissionNames().join(QLatin1String(", "))));
            permissions |= permission.value_or(PermissionNone);
        }
        const QString login = options.positional().constFirst();
        change([&](CSqlAccessControl& model) { return model.setLoginPermissions(login, uint(permissions)); });
    }

    static void addOtpOptions(AppOptions& options)
    {
        options.addSwitch(QStringLiteral("off"), QStringLiteral("no longer require one-time passwords"));
    }

    // The secret is shown this once: whoever reads it can make the same passwords.
    void setOtp(AppOptions& options)
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        const QString login = options.positional().constFirst();
        if (options.isSet(QStringLiteral("off"))) {
            change([&](CSqlAccessControl& model) { return model.setLoginSecret(login, QByteArray()); });
            return;
        }
        const QString secret = installation->makeLoginSecret(login);
        if (secret.isEmpty())
            return fail(installation->errorString());
        const QString system = installation->getSystemInfo().value(QStringLiteral("systemName")).toString();
        const auto escaped = [](const QString& text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); };
        const QString issuer = escaped(system.isEmpty() ? QStringLiteral("Access control") : system);
        const QString uri = QStringLiteral("otpauth://totp/%1:%2?secret=%3&issuer=%1&algorithm=SHA1&digits=6&period=30")
                                .arg(issuer, escaped(login), secret);
        say(uri, {{QStringLiteral("uri"), uri}});
        done();
    }

    void remove(AppOptions& options)
    {
        QStringList logins = options.positional();
        logins.removeDuplicates();
        change([&](CSqlAccessControl& model) {
            return std::all_of(logins.cbegin(), logins.cend(),
                               [&](const QString& login) { return model.removeLogin(login); });
        });
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
                                   permissionNames(
                                       Permissions(QFlag(int(row.value(QStringLiteral("permissions")).toUInt())))));
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

extern const CommandEntry loginsCommand = {"logins", "Shows and changes the logins and their permissions.",
                                           &makeCommand<LoginsCommand>};
