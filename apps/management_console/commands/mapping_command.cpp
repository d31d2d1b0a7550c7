#include "shell/command.h"

#include <foundation/services/script_service.h>

namespace {

class MappingCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("[ENUMERATION]"),
                              QStringLiteral("ENUMERATION is a name such as DeviceType (default: list all)"));
        TableOptions::add(options);
    }

    void start(AppOptions& options) override
    {
        if (options.positional().isEmpty())
            return showNames();
        const QString name = options.positional().constFirst();
        const QVariantMap mapping = CScriptService(nullptr, nullptr).getMapping(name);
        if (mapping.isEmpty())
            return fail(QStringLiteral("there is no enumeration \"%1\"; the enumerations are %2")
                            .arg(name, CScriptService::mappingNames().join(QLatin1String(", "))));
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

private:
    void showNames()
    {
        Table table({{QStringLiteral("name"), QStringLiteral("Enumeration")},
                     {QStringLiteral("values"), QStringLiteral("Values")}});
        const CScriptService service(nullptr, nullptr);
        const QStringList names = CScriptService::mappingNames();
        for (const QString& name : names)
            table.addRow({name, int(service.getMapping(name).size())});
        print(table);
        done();
    }
};

} // namespace

extern const CommandEntry mappingCommand = {"mapping", "Shows the enumerations, or the values and texts of one.",
                                            &makeCommand<MappingCommand>};
