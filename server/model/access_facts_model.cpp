#include <server/model/access_facts_model_p.h>

#include <server/model/model_vocabulary_p.h>

#include <foundation/core/canonical_text.h>
#include <foundation/services/simple_access_control.h>

#include <QtCore/QSet>

using namespace Model;

namespace {

CItemId idOf(const QVariantMap& item)
{
    return toId(item.value(idKey));
}

bool isUser(const QVariantMap& item)
{
    return item.value(classKey).toInt() == UserClassUser;
}

bool isGroup(const QVariantMap& item)
{
    return item.value(classKey).toInt() == UserClassGroup;
}

} // namespace

int ModelAccessFacts::addUser(AccessFactsBuilder* builder, const QVariantMap& user) const
{
    return builder->addUser(idOf(user), user.value(labelKey).toString(), user.value(enabledKey));
}

void ModelAccessFacts::addAccessPoints(AccessFactsBuilder* builder, CItemId only) const
{
    const QVariantMap filter = only != CItemId() ? QVariantMap{{idKey, only.value()}} : QVariantMap();
    const QVariantList doors = m_model->getModel(nameOf(KindAccessPoint), filter, {});
    for (const QVariant& door : doors) {
        const QVariantMap map = door.toMap();
        builder->addAccessPoint(idOf(map), map.value(labelKey).toString(), map.value(enabledKey),
                                map.value(timeZoneKey));
    }
}

QVector<int> ModelAccessFacts::addRights(AccessFactsBuilder* builder, const QVariantMap& holder) const
{
    QVector<int> places;
    QSet<QString> seen;
    const QVariantList rights = holder.value(rightsKey).toList();
    for (const QVariant& variant : rights) {
        const QVariantMap map = variant.toMap();
        CAccessRight right;
        right.accessPoint = builder->accessPointAt(toId(map.value(accessPointIdKey)));
        // In a model whose rights have no ids one that stands there twice is told by what it says.
        const int known = seen.size();
        seen.insert(canonicalText(map));
        if (right.accessPoint < 0 || seen.size() == known)
            continue;
        right.id = toId(map.value(idKey));
        if (isGroup(holder)) {
            right.group = idOf(holder);
            right.groupLabel = holder.value(labelKey).toString();
        }
        right.schedule = builder->schedule(map.value(timeProfileIdKey));
        right.period =
            CAccessPeriod::fromVariants(map.value(validFromKey), map.value(validToKey), AccessFactsBuilder::ownZone());
        right.options = CDataType::accessRightOptionsFromVariant(map.value(optionsKey));
        places.append(builder->addRight(right));
    }
    return places;
}

void ModelAccessFacts::addRightsOfUser(AccessFactsBuilder* builder, const QVariantMap& user) const
{
    const int place = addUser(builder, user);
    QVector<int> rights = addRights(builder, user);
    const QList<CItemId> groups = m_model->getGroupsOfUser(idOf(user));
    for (const CItemId group : groups)
        rights += addRights(builder, m_model->getGroup({{idKey, group.value()}}));
    for (const int right : qAsConst(rights))
        builder->addGrant(place, right);
    addCredentials(builder, {{userIdKey, idOf(user).value()}});
}

void ModelAccessFacts::addCredentials(AccessFactsBuilder* builder, const QVariantMap& filter) const
{
    for (const Kind kind : {KindMedium, KindCode}) {
        const QVariantList credentials = m_model->getModel(nameOf(kind), filter, {});
        for (const QVariant& credential : credentials) {
            const QVariantMap map = credential.toMap();
            const int user = builder->userAt(toId(map.value(userIdKey)));
            if (user < 0)
                continue;
            const QString description = map.value(QStringLiteral("description")).toString();
            builder->addCredential(user, idOf(map),
                                   kind == KindMedium
                                       ? AccessFactsBuilder::mediumLabel(description, map.value(labelKey).toString())
                                       : AccessFactsBuilder::codeLabel(description, idOf(map)),
                                   map.value(blockedKey),
                                   CAccessPeriod::fromVariants(map.value(validFromKey), map.value(validToKey),
                                                               AccessFactsBuilder::ownZone()));
        }
    }
}

void ModelAccessFacts::describeSchedules(AccessFactsBuilder* builder) const
{
    if (builder->schedules().isEmpty())
        return;
    QHash<qint64, QVector<QDate>> holidays;
    const QVariantList dates = m_model->getModel(nameOf(KindHoliday), {}, {});
    for (const QVariant& holiday : dates) {
        const QVariantMap map = holiday.toMap();
        holidays[toId(map.value(calendarIdKey))].append(map.value(QStringLiteral("date")).toDate());
    }
    const QVariantList schedules = m_model->getModel(nameOf(KindTimeProfile), {}, {});
    for (const QVariant& schedule : schedules) {
        const QVariantMap map = schedule.toMap();
        const qint64 calendar = toId(map.value(calendarIdKey));
        builder->describeSchedule(idOf(map), map.value(labelKey).toString(), map.value(slotsKey),
                                  calendar != 0 ? holidays.value(calendar) : QVector<QDate>());
    }
}

CAccessFacts ModelAccessFacts::ofUserAtDoor(CItemId user, CItemId accessPoint)
{
    AccessFactsBuilder builder(&m_zones);
    if (accessPoint != CItemId())
        addAccessPoints(&builder, accessPoint);
    const QVariantMap map = m_model->getUser({{idKey, user.value()}});
    if (user != CItemId() && isUser(map))
        addRightsOfUser(&builder, map);
    describeSchedules(&builder);
    return builder.take();
}

CAccessFacts ModelAccessFacts::ofUser(CItemId user)
{
    AccessFactsBuilder builder(&m_zones);
    addAccessPoints(&builder, CItemId());
    const QVariantMap map = m_model->getUser({{idKey, user.value()}});
    if (user != CItemId() && isUser(map))
        addRightsOfUser(&builder, map);
    describeSchedules(&builder);
    return builder.take();
}

CAccessFacts ModelAccessFacts::ofDoor(CItemId accessPoint)
{
    AccessFactsBuilder builder(&m_zones);
    if (accessPoint != CItemId())
        addAccessPoints(&builder, accessPoint);
    QHash<qint64, QVariantMap> users;
    QVariantList groups;
    const QVariantList all = m_model->getModel(nameOf(KindUserOrGroup), {}, {});
    for (const QVariant& holder : all) {
        const QVariantMap map = holder.toMap();
        if (isGroup(map)) {
            groups.append(map);
        } else if (isUser(map)) {
            users.insert(idOf(map).value(), map);
            const QVector<int> rights = addRights(&builder, map);
            for (const int right : rights)
                builder.addGrant(addUser(&builder, map), right);
        }
    }
    for (const QVariant& group : qAsConst(groups)) {
        const QVariantMap map = group.toMap();
        const QVector<int> rights = addRights(&builder, map);
        const QList<qint64> members = rights.isEmpty() ? QList<qint64>() : toIds(map.value(membersKey));
        for (const qint64 member : members) {
            const auto user = users.constFind(member);
            if (user == users.constEnd())
                continue; // a member that the model only knows by id
            const int place = addUser(&builder, *user);
            for (const int right : rights)
                builder.addGrant(place, right);
        }
    }
    addCredentials(&builder, {});
    describeSchedules(&builder);
    return builder.take();
}
