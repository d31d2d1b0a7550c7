// Cards, key fobs and codes: what opens doors for somebody.
#include "commands/item_command.h"

#include <foundation/datatypes/data_type.h>
#include <server/model/sql_access_control.h>

namespace {

const QString blockedKey = QStringLiteral("blocked");

class CredentialCommand : public ItemCommand
{
protected:
    using ItemCommand::ItemCommand;

    static void addOwner(AppOptions& options)
    {
        options.addValue(QStringLiteral("user"), QStringLiteral("USER"), QStringLiteral("user to whom it belongs"));
    }

    // The first argument is the value of `name`.
    void addWith(const QString& name, AppOptions& options)
    {
        const QStringList words = options.positional();
        QVariantMap properties{{name, words.constFirst()}};
        if (!readProperties(words.mid(1), properties, options))
            return;
        if (words.constFirst().isEmpty())
            return fail(QStringLiteral("%1: must not be empty").arg(name));
        CItemId user;
        if (options.isSet(QStringLiteral("user"))) {
            if (!find(Named::User, options.value(QStringLiteral("user")), user))
                return;
            properties.insert(QStringLiteral("userId"), user.value());
        }
        make(withLabel(properties));
    }
    virtual QVariantMap withLabel(const QVariantMap& properties) const { return properties; }

    void give(AppOptions& options)
    {
        const QStringList words = options.positional();
        CItemId user;
        QList<CItemId> items;
        if (find(Named::User, words.constFirst(), user) && findAll(m_kind, words.mid(1), items))
            setAll(items, QStringLiteral("userId"), user.value());
    }

    void setBlocked(AppOptions& options, bool blocked)
    {
        QList<CItemId> items;
        if (findAll(m_kind, options.positional(), items))
            setAll(items, blockedKey, blocked);
    }
    void block(AppOptions& options) { setBlocked(options, true); }
    void unblock(AppOptions& options) { setBlocked(options, false); }
};

class MediaCommand : public CredentialCommand
{
public:
    MediaCommand(Session& session, Output& output)
        : CredentialCommand(session, output, Named::Medium, "Media")
    {
    }

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the media", &startVerb<&MediaCommand::showAll>, &ListOptions::add},
            {"add", "UID [KEY=VALUE...]", "adds a medium and prints its id (label= description= validFrom=T validTo=T)",
             &startVerb<&MediaCommand::add>, &MediaCommand::addOwner},
            {"set", "MEDIUM KEY=VALUE...", "changes properties; KEY= removes one", &startVerb<&MediaCommand::set>},
            {"remove", "MEDIUM...", "removes media", &startVerb<&MediaCommand::remove>},
            {"give", "USER MEDIUM...", "gives media to a user", &startVerb<&MediaCommand::give>},
            {"take", "MEDIUM...", "takes media back from their users", &startVerb<&MediaCommand::take>},
            {"block", "MEDIUM...", "blocks media, such as lost cards: they open no door",
             &startVerb<&MediaCommand::block>},
            {"unblock", "MEDIUM...", "unblocks media", &startVerb<&MediaCommand::unblock>},
        };
        return table;
    }

private:
    void add(AppOptions& options) { addWith(QStringLiteral("uid"), options); }

    QVariantMap withLabel(const QVariantMap& properties) const override
    {
        QVariantMap medium = properties;
        const QString uid = properties.value(QStringLiteral("uid")).toString();
        if (!medium.contains(QStringLiteral("label")))
            medium.insert(QStringLiteral("label"), CDataType::rfidUidToLabel(QByteArray::fromHex(uid.toLatin1())));
        return medium;
    }

    void take(AppOptions& options)
    {
        QList<CItemId> media;
        if (findAll(Named::Medium, options.positional(), media))
            setAll(media, QStringLiteral("userId"), 0);
    }

    void showAll(AppOptions& options)
    {
        CModelReader::Query query;
        CModelReader::Page page;
        if (!readQuery(options, query) || !read([&](const CModelReader& reader) { return reader.media(query); }, page))
            return;
        show(Table({{QStringLiteral("id"), QStringLiteral("Id")},
                    {QStringLiteral("label"), QStringLiteral("Label")},
                    {QStringLiteral("description"), QStringLiteral("Description")},
                    {QStringLiteral("type"), QStringLiteral("Type")},
                    {QStringLiteral("uid"), QStringLiteral("UID")},
                    {QStringLiteral("user"), QStringLiteral("User")},
                    {QStringLiteral("userId"), QString()},
                    {QStringLiteral("validFrom"), QStringLiteral("Valid from")},
                    {QStringLiteral("validTo"), QStringLiteral("Valid to")},
                    {blockedKey, QStringLiteral("Blocked")}}),
             page);
    }
};

class CodesCommand : public CredentialCommand
{
public:
    CodesCommand(Session& session, Output& output)
        : CredentialCommand(session, output, Named::Code, "Codes")
    {
    }

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the codes, but never their digits", &startVerb<&CodesCommand::showAll>, &ListOptions::add},
            {"add", "CODE [KEY=VALUE...]", "adds a code of 1 to 12 digits and prints its id (description= validTo=T)",
             &startVerb<&CodesCommand::add>, &CodesCommand::addOwner},
            {"set", "ITEM KEY=VALUE...", "changes properties; a code is named by id or description",
             &startVerb<&CodesCommand::set>},
            {"remove", "ITEM...", "removes codes", &startVerb<&CodesCommand::remove>},
            {"give", "USER ITEM...", "gives codes to a user", &startVerb<&CodesCommand::give>},
            {"block", "ITEM...", "blocks codes: they open no door", &startVerb<&CodesCommand::block>},
            {"unblock", "ITEM...", "unblocks codes", &startVerb<&CodesCommand::unblock>},
        };
        return table;
    }

private:
    void add(AppOptions& options) { addWith(QStringLiteral("code"), options); }

    void showAll(AppOptions& options)
    {
        CModelReader::Query query;
        CModelReader::Page page;
        if (!readQuery(options, query) || !read([&](const CModelReader& reader) { return reader.codes(query); }, page))
            return;
        show(Table({{QStringLiteral("id"), QStringLiteral("Id")},
                    {QStringLiteral("description"), QStringLiteral("Description")},
                    {QStringLiteral("user"), QStringLiteral("User")},
                    {QStringLiteral("userId"), QString()},
                    {QStringLiteral("validFrom"), QStringLiteral("Valid from")},
                    {QStringLiteral("validTo"), QStringLiteral("Valid to")},
                    {blockedKey, QStringLiteral("Blocked")}}),
             page);
    }
};

} // namespace

extern const CommandEntry mediaCommand = {
    "media", "Shows and changes the media (cards, key fobs) and gives them to users.", &makeCommand<MediaCommand>};
extern const CommandEntry codesCommand = {"codes", "Shows and changes the codes that people enter at doors.",
                                          &makeCommand<CodesCommand>};
