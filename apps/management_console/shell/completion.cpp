#include "shell/completion.h"

#include "commands/item_names.h"
#include "server/device_server.h"
#include "shell/command.h"
#include "shell/command_words.h"
#include "shell/no_output.h"
#include "shell/terminal.h"

#include <foundation/services/script_service.h>
#include <server/audit/audit_event.h>
#include <server/model/model_reader.h>
#include <server/model/permission_names.h>
#include <server/model/sql_access_control.h>

#include <memory>

namespace {

// So many names are offered at most.
constexpr int mostNames = 1000;

// What stands in the help for an item.
struct ItemWord
{
    const char* word;
    Named kind;
};
constexpr ItemWord itemWords[] = {
    {"USER", Named::User},         {"GROUP", Named::Group},       {"USER-OR-GROUP", Named::UserOrGroup},
    {"DOOR", Named::Door},         {"MEDIUM", Named::Medium},     {"MEDIUM-OR-CODE", Named::Medium},
    {"SCHEDULE", Named::Schedule}, {"CALENDAR", Named::Calendar}, {"HOLIDAY", Named::Holiday},
    {"DEVICE", Named::Device},     {"LABEL|all", Named::Device},
};

// Keys of properties that have a meaning, by command.
struct KnownKeys
{
    const char* command;
    const char* collection;
    const char* keys;
};
constexpr KnownKeys knownKeys[] = {
    {"users", "UsersGroups", "label Department Email enabled"},
    {"groups", "UsersGroups", "label"},
    {"doors", "AccessPoints", "label Building Floor timeZone enabled"},
    {"media", "Media", "label uid description validFrom validTo blocked"},
    {"codes", "Codes", "description validFrom validTo blocked"},
    {"schedules", "TimeProfiles", "label slots calendar"},
    {"holidays", "Holidays", "label date"},
};

class Search
{
public:
    Search(Session& session, const QString& command, const QString& word)
        : m_session(session)
        , m_command(command)
        , m_word(word)
    {
    }

    void offer(const QString& text)
    {
        if (text.startsWith(m_word) && !m_found.words.contains(text))
            m_found.words.append(text);
    }

    // What the syntax of a command calls `name`, behind `prefix` in the word.
    void offerValues(const QString& name, const QString& prefix = {})
    {
        const QString begin = m_word.mid(prefix.size());
        if (name.startsWith(QLatin1String("FILE"))) {
            m_found.files = true;
            m_found.filePrefix = prefix;
        } else if (name == QLatin1String("COMMAND")) {
            for (const CommandEntry* entry : m_session.commands())
                offer(prefix + QLatin1String(entry->name));
        } else if (name == QLatin1String("KEY=VALUE")) {
            offerKeys(prefix);
        } else if (name == QLatin1String("ENUMERATION")) {
            const QStringList names = CScriptService::mappingNames();
            for (const QString& one : names)
                offer(prefix + one);
        } else if (name == QLatin1String("KIND")) {
            const QStringList kinds = auditKindNames();
            for (const QString& kind : kinds)
                offer(prefix + kind);
        } else if (name == QLatin1String("PERMISSION")) {
            const QStringList names = allPermissionNames();
            for (const QString& one : names)
                offer(prefix + one);
            offer(prefix + QStringLiteral("Administrator"));
            offer(prefix + QStringLiteral("none"));
        } else if (name == QLatin1String("LOGIN")) {
            offerLogins(prefix);
        }
        for (const ItemWord& item : itemWords) {
            if (name == QLatin1String(item.word))
                offerItems(item.kind, begin, prefix);
        }
        if (name == QLatin1String("LABEL|all"))
            offer(prefix + QStringLiteral("all"));
    }

    Completion take() { return std::move(m_found); }

private:
    void offerItems(Named kind, const QString& begin, const QString& prefix)
    {
        QString error;
        if (const CSqlAccessControl* model = m_session.model(error)) {
            const QStringList names = ItemNames(model).thatBegin(kind, begin, mostNames);
            for (const QString& name : names) {
                if (Terminal::printable(name) == name)
                    m_found.words.append(prefix + name);
            }
        }
        if (kind != Named::Device || !m_session.server())
            return;
        const QList<DeviceLink*> links = m_session.server()->links();
        for (const DeviceLink* link : links)
            offer(prefix + link->identity().id.toLabel());
    }

    void offerLogins(const QString& prefix)
    {
        QString error;
        const CSqlAccessControl* model = m_session.model(error);
        const QList<QVariantMap> logins = model ? CModelReader(model).logins() : QList<QVariantMap>();
        for (const QVariantMap& login : logins)
            offer(prefix + login.value(QStringLiteral("name")).toString());
    }

    void offerKeys(const QString& prefix)
    {
        for (const KnownKeys& known : knownKeys) {
            if (m_command != QLatin1String(known.command))
                continue;
            const QStringList keys = QString::fromLatin1(known.keys).split(QLatin1Char(' '));
            for (const QString& key : keys)
                offer(prefix + key + QLatin1Char('='));
            QString error;
            const CSqlAccessControl* model = m_session.model(error);
            const QStringList stored =
                model ? CModelReader(model).propertyNames(QLatin1String(known.collection)) : QStringList();
            for (const QString& key : stored)
                offer(prefix + key + QLatin1Char('='));
        }
    }

    Session& m_session;
    QString m_command;
    QString m_word;
    Completion m_found;
};

// The name of an argument's place: "[KEY=VALUE...]" is "KEY=VALUE". Empty behind the last.
QString argumentName(const QString& syntax, int place)
{
    const QStringList names = syntax.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (names.isEmpty() || (place >= names.size() && !names.constLast().contains(QLatin1String("..."))))
        return {};
    QString name = names.at(qMin(place, int(names.size()) - 1));
    name.remove(QLatin1String("..."));
    name.remove(QLatin1Char('['));
    return name.remove(QLatin1Char(']'));
}

} // namespace

Completion completionOf(Session& session, const QString& text)
{
    const LineBegin line = lineBegin(text);
    return line.words.value(0).startsWith(QLatin1Char('#')) ? Completion()
                                                            : completionOf(session, line.words, line.word);
}

Completion completionOf(Session& session, const QStringList& words, const QString& word)
{
    Search search(session, words.value(0), word);
    if (words.isEmpty()) {
        search.offerValues(QStringLiteral("COMMAND"));
        return search.take();
    }
    const CommandEntry* entry = session.findCommand(words.constFirst());
    if (!entry)
        return {};
    NoOutput nothing;
    const std::unique_ptr<Command> command(entry->create(session, nothing));
    QStringList arguments = words.mid(1);
    const int given = int(arguments.size());
    const std::unique_ptr<AppOptions> options = command->optionsBehind(words.constFirst(), arguments);

    const auto valueName = [&options](const QString& name) {
        for (const AppOptions::Option& option : options->options()) {
            if (option.name == name)
                return option.valueName;
        }
        return QString();
    };
    const auto plainName = [](const QString& option) {
        return option.mid(option.startsWith(QLatin1String("--")) ? 2 : 1);
    };
    int place = 0;
    bool optionsEnded = false;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (optionsEnded || !argument.startsWith(QLatin1Char('-')) || argument.size() == 1) {
            ++place;
        } else if (argument == QLatin1String("--")) {
            optionsEnded = true;
        } else if (!argument.contains(QLatin1Char('='))) {
            const QString value = valueName(plainName(argument));
            if (!value.isEmpty() && ++i == arguments.size()) {
                search.offerValues(value);
                return search.take();
            }
        }
    }
    if (!optionsEnded && word.startsWith(QLatin1Char('-'))) {
        const int equals = int(word.indexOf(QLatin1Char('=')));
        if (equals > 0) {
            search.offerValues(valueName(plainName(word.left(equals))), word.left(equals + 1));
            return search.take();
        }
        for (const AppOptions::Option& option : options->options())
            search.offer(QLatin1String("--") + option.name);
        return search.take();
    }
    // As long as there is no verb and no argument, there may be a verb.
    if (place == 0 && arguments.size() == given) {
        for (const Verb& verb : command->verbs()) {
            if (qstrlen(verb.name) > 0)
                search.offer(QLatin1String(verb.name));
        }
    }
    search.offerValues(argumentName(options->positionalSyntax(), place));
    return search.take();
}
