#include "shell/command.h"

#include <foundation/services/script_service.h>

namespace {

class MappingCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("NAME"), QStringLiteral("NAME is an enumeration, such as DeviceType"));
    }

    void start(AppOptions& options) override
    {
        const QString name = options.positional().constFirst();
        const QVariantMap mapping = CScriptService(nullptr, nullptr).getMapping(name);
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

extern const CommandEntry mappingCommand = {"mapping", "Shows the values and texts of an enumeration.",
                                            &makeCommand<MappingCommand>};
