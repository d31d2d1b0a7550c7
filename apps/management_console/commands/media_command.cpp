#include "commands/model_command.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/script_service.h>

namespace {

class MediaCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows them", &startVerb<&MediaCommand::show>, &ListOptions::add},
            {"give", "ID... USER", "gives media to a user", &startVerb<&MediaCommand::give>},
        };
        return table;
    }

private:
    void give(AppOptions& options)
    {
        const QStringList words = options.positional();
        if (words.size() < 2)
            return options.setError(QStringLiteral("USER is missing"));
        if (CScriptService* scripts = service())
            conclude(scripts->addRfidMediaToUser(words.mid(0, words.size() - 1), words.constLast()),
                     QStringLiteral("do that: no such medium or user"));
    }

    void show(AppOptions& options)
    {
        Table table({{QStringLiteral("id"), QStringLiteral("Id")},
                     {QStringLiteral("label"), QStringLiteral("Label")},
                     {QStringLiteral("description"), QStringLiteral("Description")},
                     {QStringLiteral("type"), QStringLiteral("Type")},
                     {QStringLiteral("uid"), QStringLiteral("UID")},
                     {QStringLiteral("user"), QStringLiteral("User")},
                     {QStringLiteral("validTo"), QStringLiteral("Valid to")}});
        if (!service())
            return;
        const QVariantList media = selected(items(QStringLiteral("Media")), options);
        if (!options.error().isEmpty())
            return;
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

} // namespace

extern const CommandEntry mediaCommand = {"media", "Shows the cards and key fobs, or gives them to a user.",
                                          &makeCommand<MediaCommand>};
