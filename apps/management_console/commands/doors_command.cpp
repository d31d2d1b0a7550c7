#include "commands/item_command.h"

#include <foundation/core/device_id.h>
#include <server/model/sql_access_control.h>

namespace {

class DoorsCommand : public ItemCommand
{
public:
    DoorsCommand(Session& session, Output& output)
        : ItemCommand(session, output, Named::Door, "AccessPoints")
    {
    }

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the doors", &startVerb<&DoorsCommand::showAll>, &ListOptions::add},
            {"add", "LABEL [KEY=VALUE...]", "adds a door and prints its id (Building= Floor= timeZone=Europe/Berlin)",
             &startVerb<&DoorsCommand::add>},
            {"set", "DOOR KEY=VALUE...",
             "changes properties; KEY= removes one, enabled=false takes the door out of service",
             &startVerb<&DoorsCommand::set>},
            {"remove", "DOOR...", "removes doors", &startVerb<&DoorsCommand::remove>},
            {"assign", "DOOR DEVICE", "assigns a device to the door: its label such as 000.123.457, or none",
             &startVerb<&DoorsCommand::assign>},
        };
        return table;
    }

private:
    void assign(AppOptions& options)
    {
        const QString device = options.positional().at(1);
        CItemId door;
        if (!find(Named::Door, options.positional().constFirst(), door))
            return;
        if (device != QLatin1String("none"))
            return change([&](CSqlAccessControl& model) { return model.addDeviceToAccessPoint(device, door, {}); });
        // The device stays known, without a door.
        change([&](CSqlAccessControl& model) {
            const QVariantList devices = model.getModel(
                QStringLiteral("Devices"), {{QStringLiteral("accessPointId"), door.value()}}, {QStringLiteral("id")});
            for (const QVariant& at : devices) {
                const CItemId id = at.toMap().value(QStringLiteral("id")).toLongLong();
                if (!model.setItemProperty(QStringLiteral("Devices"), QStringLiteral("accessPointId"), 0, id))
                    return false;
            }
            return true;
        });
    }

    void showAll(AppOptions& options)
    {
        CModelReader::Query query;
        CModelReader::Page page;
        if (!readQuery(options, query) || !read([&](const CModelReader& reader) { return reader.doors(query); }, page))
            return;
        show(Table({{QStringLiteral("id"), QStringLiteral("Id")},
                    {QStringLiteral("label"), QStringLiteral("Name")},
                    {QStringLiteral("building"), QStringLiteral("Building")},
                    {QStringLiteral("floor"), QStringLiteral("Floor")},
                    {QStringLiteral("timeZone"), QStringLiteral("Time zone")},
                    {QStringLiteral("device"), QStringLiteral("Device")},
                    {QStringLiteral("enabled"), QStringLiteral("Enabled")},
                    {QStringLiteral("properties"), QString()}}),
             page);
    }
};

} // namespace

extern const CommandEntry doorsCommand = {"doors", "Shows and changes the doors, and assigns devices to them.",
                                          &makeCommand<DoorsCommand>};
