#include "report_data.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/base_report_server.h>
#include <foundation/services/simple_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QSet>

using Entry = SectionTemplate::Entry;

namespace {

const QString labelKey = QStringLiteral("label");

// Without what is no text: control characters, and the noncharacters that a text document keeps for its own use.
QString text(const QVariant& value)
{
    QString result = CBaseReportServer::beautifyFormat(value).toString();
    for (QChar& c : result) {
        const bool reserved = c.unicode() >= 0xFDD0 && c.unicode() <= 0xFDEF;
        if (c.category() == QChar::Other_Control || c == QChar::ObjectReplacementCharacter || reserved
            || c.unicode() >= 0xFFFE || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    return result;
}

Entry entry(const QVariantMap& values)
{
    QVariantMap texts;
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        texts.insert(value.key(), text(*value));
    return {texts, {}};
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

ReportData::ReportData(CBaseReportServer& server, const ReportTexts& texts)
    : m_server(server)
    , m_model(server.accessControl())
    , m_texts(texts)
{
    // The members of each group once, not the groups of each user.
    const QVariantList groups = m_model == nullptr ? QVariantList()
                                                   : m_model->getModel(QStringLiteral("UsersGroups"),
                                                                       {{QStringLiteral("class"), int(UserClassGroup)}},
                                                                       {QStringLiteral("id"), labelKey});
    m_hasGroups = !groups.isEmpty();
    for (const QVariant& element : groups) {
        const QVariantMap group = element.toMap();
        const QList<CItemId> users = m_model->getUsersOfGroup(group.value(QStringLiteral("id")).toLongLong());
        for (const CItemId user : users)
            m_groups[user].append(group.value(labelKey));
    }
}

int ReportData::rows() const
{
    return m_model == nullptr ? 0 : int(m_server.userIds().size());
}

Entry ReportData::report(int count) const
{
    const QVariantMap system = m_model == nullptr ? QVariantMap() : m_model->getSystemInfo();
    return entry({{QStringLiteral("system"), system.value(QStringLiteral("systemName"))},
                  {QStringLiteral("systemId"), system.value(QStringLiteral("systemid"))},
                  {QStringLiteral("created"), QLocale().toString(QDateTime::currentDateTime(), QLocale::ShortFormat)},
                  {QStringLiteral("count"), count}});
}

bool ReportData::user(int row, bool first, Entry& user)
{
    if (m_model == nullptr)
        return false;
    const CItemId id = m_server.userIds().at(row);
    const QString name = m_model->getUserProperty(labelKey, id).toString();
    if (name.isEmpty())
        return false;
    const QVariantMap data = m_server.getUserDataModel(row);
    user = entry({{QStringLiteral("name"), name},
                  {QStringLiteral("id"), id.value()},
                  {QStringLiteral("pageBreak"), first ? QStringLiteral("auto") : QStringLiteral("always")}});
    addList(user, QStringLiteral("property"), properties(row, data.value(QStringLiteral("Properties")).toList()));
    addList(user, QStringLiteral("group"), groups(id));
    addList(user, QStringLiteral("right"), rights(id));
    addList(user, QStringLiteral("medium"), media(data.value(QStringLiteral("Media")).toList()));
    addList(user, QStringLiteral("code"), codes(data.value(QStringLiteral("Codes")).toList()));
    return true;
}

QVariantMap ReportData::validity(const QVariantMap& map) const
{
    const QString from = text(map.value(QStringLiteral("validFrom")));
    const QString to = text(map.value(QStringLiteral("validTo")));
    QString both = m_texts.text(QT_TRANSLATE_NOOP("UserReport", "unlimited"));
    if (!from.isEmpty() && !to.isEmpty())
        both = QStringLiteral("%1 \u2013 %2").arg(from, to);
    else if (!from.isEmpty())
        both = m_texts.text(QT_TRANSLATE_NOOP("UserReport", "from %1")).arg(from);
    else if (!to.isEmpty())
        both = m_texts.text(QT_TRANSLATE_NOOP("UserReport", "until %1")).arg(to);
    const QString open = QStringLiteral("\u2013");
    return {{QStringLiteral("validity"), both},
            {QStringLiteral("validFrom"), from.isEmpty() ? open : from},
            {QStringLiteral("validTo"), to.isEmpty() ? open : to}};
}

// Definitions where the installation has any, otherwise what an address book would show.
ReportData::Entries ReportData::properties(int row, const QVariantList& definitions)
{
    Entries entries;
    const auto add = [&](const QString& name, const QVariant& value) {
        if (!text(value).isEmpty())
            entries.append(entry({{labelKey, name}, {QStringLiteral("value"), text(value)}}));
    };
    for (const QVariant& definition : definitions) {
        const QVariantMap map = definition.toMap();
        add(map.value(QStringLiteral("name")).toString(), map.value(QStringLiteral("value")));
    }
    if (!definitions.isEmpty())
        return entries;
    for (const char* name :
         {QT_TRANSLATE_NOOP("UserReport", "Department"), QT_TRANSLATE_NOOP("UserReport", "Personnel Number"),
          QT_TRANSLATE_NOOP("UserReport", "Email"), QT_TRANSLATE_NOOP("UserReport", "Phone")}) {
        QVariant value;
        m_server.getUserPropertyValue(row, QLatin1String(name), value);
        add(m_texts.text(name), value);
    }
    return entries;
}

ReportData::Entries ReportData::groups(CItemId user)
{
    Entries entries;
    if (m_hasGroups) {
        const QVariantList labels = m_groups.value(user);
        for (const QVariant& label : labels)
            entries.append(entry({{labelKey, label}}));
        return entries;
    }
    // A model that does not list its groups may know them all the same.
    const QList<CItemId> ids = m_model->getGroupsOfUser(user);
    for (const CItemId id : ids)
        entries.append(entry({{labelKey, m_model->getGroupProperty(labelKey, id)}}));
    return entries;
}

ReportData::Entries ReportData::rights(CItemId user)
{
    Entries entries;
    QSet<CItemId> seen;
    const QList<CItemId> doors = m_model->getAccessPointsOfUser(user);
    for (const CItemId id : doors) {
        if (seen.contains(id))
            continue;
        seen.insert(id);
        auto door = m_doors.constFind(id);
        if (door == m_doors.constEnd()) {
            door = m_doors.insert(id, {m_model->getAccessPointProperty(labelKey, id),
                                       m_model->getAccessPointProperty(QStringLiteral("location"), id)});
        }
        QVariantList periods = m_model->getAccessRightProperties(id, user);
        if (periods.isEmpty())
            periods.append(QVariantMap());
        for (const QVariant& period : qAsConst(periods)) {
            QVariantMap values = validity(period.toMap());
            values.insert(labelKey, door->label);
            values.insert(QStringLiteral("location"), door->location);
            entries.append(entry(values));
        }
    }
    return entries;
}

ReportData::Entries ReportData::media(const QVariantList& list) const
{
    Entries entries;
    for (const QVariant& element : list) {
        const QVariantMap medium = element.toMap();
        const auto type = CDataType::cardMediumTypeCast(medium.value(QStringLiteral("mediumType")).toInt());
        const QByteArray uid = medium.value(QStringLiteral("uid")).toByteArray();
        QVariantMap values = validity(medium);
        values.insert(labelKey, medium.value(QStringLiteral("publicMediaLabel")));
        values.insert(QStringLiteral("description"), medium.value(QStringLiteral("description")));
        values.insert(QStringLiteral("type"), m_texts.catalogText(CDataType::cardMediumTypeToString(type)));
        values.insert(QStringLiteral("uid"), CDataType::rfidUidToLabel(uid));
        entries.append(entry(values));
    }
    return entries;
}

// A report is handed round: it says that there is a code, not which.
ReportData::Entries ReportData::codes(const QVariantList& list) const
{
    Entries entries;
    for (const QVariant& element : list) {
        const QVariantMap code = element.toMap();
        const int digits = int(code.value(QStringLiteral("code")).toString().size());
        QVariantMap values = validity(code);
        values.insert(QStringLiteral("description"), code.value(QStringLiteral("description")));
        values.insert(QStringLiteral("digits"), m_texts.text(QT_TRANSLATE_NOOP("UserReport", "%1 digits")).arg(digits));
        entries.append(entry(values));
    }
    return entries;
}
