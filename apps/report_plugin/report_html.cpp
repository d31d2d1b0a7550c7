#include "report_html.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/base_report_server.h>

#include <QtCore/QDateTime>
#include <QtCore/QLocale>

using SectionTemplate::Entry;

namespace {

const QString labelKey = QStringLiteral("label");

QString text(const QVariant& value)
{
    return CBaseReportServer::beautifyFormat(value).toString();
}

QString validity(const QVariantMap& map)
{
    const QString from = text(map.value(QStringLiteral("validFrom")));
    const QString to = text(map.value(QStringLiteral("validTo")));
    if (from.isEmpty() && to.isEmpty())
        return QStringLiteral("unlimited");
    if (from.isEmpty())
        return QStringLiteral("until %1").arg(to);
    return to.isEmpty() ? QStringLiteral("from %1").arg(from) : QStringLiteral("%1 \u2013 %2").arg(from, to);
}

Entry entry(const QVariantMap& values)
{
    return {values, {}};
}

// Definitions where the installation has any, otherwise what an address book would show.
QList<Entry> properties(CBaseReportServer& server, int row, const QVariantList& definitions)
{
    QList<Entry> entries;
    const auto add = [&](const QString& name, const QVariant& value) {
        if (!text(value).isEmpty())
            entries.append(entry({{QStringLiteral("label"), name}, {QStringLiteral("value"), text(value)}}));
    };
    for (const QVariant& definition : definitions) {
        const QVariantMap map = definition.toMap();
        add(map.value(QStringLiteral("name")).toString(), map.value(QStringLiteral("value")));
    }
    if (!definitions.isEmpty())
        return entries;
    for (const char* name : {"Department", "Personnel Number", "Email", "Phone"}) {
        QVariant value;
        server.getUserPropertyValue(row, QLatin1String(name), value);
        add(QLatin1String(name), value);
    }
    return entries;
}

QList<Entry> groups(ISimpleAccessControl& model, CItemId user)
{
    QList<Entry> entries;
    const QList<CItemId> ids = model.getGroupsOfUser(user);
    for (const CItemId id : ids)
        entries.append(entry({{labelKey, model.getGroupProperty(labelKey, id)}}));
    return entries;
}

QList<Entry> rights(ISimpleAccessControl& model, CItemId user)
{
    QList<Entry> entries;
    const QList<CItemId> doors = model.getAccessPointsOfUser(user);
    for (const CItemId door : doors) {
        const QVariantMap right = model.getAccessRightProperties(door, user).value(0).toMap();
        entries.append(
            entry({{labelKey, model.getAccessPointProperty(labelKey, door)},
                   {QStringLiteral("location"), model.getAccessPointProperty(QStringLiteral("location"), door)},
                   {QStringLiteral("validity"), validity(right)}}));
    }
    return entries;
}

QList<Entry> media(const QVariantList& list)
{
    QList<Entry> entries;
    for (const QVariant& element : list) {
        const QVariantMap medium = element.toMap();
        const auto type = CDataType::cardMediumTypeCast(medium.value(QStringLiteral("mediumType")).toInt());
        const QByteArray uid = medium.value(QStringLiteral("uid")).toByteArray();
        entries.append(entry({{labelKey, medium.value(QStringLiteral("publicMediaLabel"))},
                              {QStringLiteral("description"), medium.value(QStringLiteral("description"))},
                              {QStringLiteral("type"), QLatin1String(CDataType::cardMediumTypeToString(type))},
                              {QStringLiteral("uid"), CDataType::rfidUidToLabel(uid)},
                              {QStringLiteral("validity"), validity(medium)}}));
    }
    return entries;
}

// A report is handed round: it says that there is a code, not which.
QList<Entry> codes(const QVariantList& list)
{
    QList<Entry> entries;
    for (const QVariant& element : list) {
        const QVariantMap code = element.toMap();
        const int digits = code.value(QStringLiteral("code")).toString().size();
        entries.append(entry({{QStringLiteral("description"), code.value(QStringLiteral("description"))},
                              {QStringLiteral("digits"), QStringLiteral("%1 digits").arg(digits)},
                              {QStringLiteral("validity"), validity(code)}}));
    }
    return entries;
}

void addList(Entry& user, const QString& name, const QList<Entry>& entries)
{
    Entry whole;
    whole.sections.insert(name, entries);
    const QString present = name + QLatin1Char('s');
    user.sections.insert(name, entries);
    user.sections.insert(entries.isEmpty() ? QString(QLatin1String("no-") + present) : present, {whole});
}

} // namespace

Entry userReport(CBaseReportServer& server)
{
    Entry report;
    ISimpleAccessControl* model = server.accessControl();
    if (model == nullptr)
        return report;
    QList<Entry> users;
    const QList<CItemId> ids = server.userIds();
    for (int row = 0; row < ids.size(); ++row) {
        const QString name = model->getUserProperty(labelKey, ids[row]).toString();
        if (name.isEmpty())
            continue;
        const QVariantMap data = server.getUserDataModel(row);
        Entry user;
        user.values = {
            {QStringLiteral("name"), name},
            {QStringLiteral("id"), ids[row].value()},
            {QStringLiteral("pageBreak"), users.isEmpty() ? QStringLiteral("auto") : QStringLiteral("always")}};
        addList(user, QStringLiteral("property"),
                properties(server, row, data.value(QStringLiteral("Properties")).toList()));
        addList(user, QStringLiteral("group"), groups(*model, ids[row]));
        addList(user, QStringLiteral("right"), rights(*model, ids[row]));
        addList(user, QStringLiteral("medium"), media(data.value(QStringLiteral("Media")).toList()));
        addList(user, QStringLiteral("code"), codes(data.value(QStringLiteral("Codes")).toList()));
        users.append(user);
    }
    const QVariantMap system = model->getSystemInfo();
    report.values = {
        {QStringLiteral("system"), system.value(QStringLiteral("systemName"))},
        {QStringLiteral("systemId"), system.value(QStringLiteral("systemid"))},
        {QStringLiteral("created"), QLocale().toString(QDateTime::currentDateTime(), QLocale::ShortFormat)},
        {QStringLiteral("count"), users.size()}};
    report.sections.insert(QStringLiteral("user"), users);
    return report;
}
