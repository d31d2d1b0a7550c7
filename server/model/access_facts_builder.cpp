#include <server/model/access_facts_builder_p.h>

#include <server/model/model_vocabulary_p.h>

#include <QtCore/QTimeZone>

#include <algorithm>

std::optional<CAccessTimeZone> AccessTimeZones::find(const QString& name)
{
    const auto known = m_zones.constFind(name);
    if (known != m_zones.constEnd())
        return *known;
    std::optional<CAccessTimeZone> zone;
    if (name.isEmpty()) {
        zone = AccessFactsBuilder::ownZone();
    } else {
        const QTimeZone rules(name.toLatin1());
        if (rules.isValid())
            zone = CAccessTimeZone(rules);
    }
    m_zones.insert(name, zone);
    return zone;
}

const CAccessTimeZone& AccessFactsBuilder::ownZone()
{
    static const CAccessTimeZone zone(QTimeZone::systemTimeZone());
    return zone;
}

QString AccessFactsBuilder::mediumLabel(const QString& description, const QString& label)
{
    return description.isEmpty() ? label : QString(description + QLatin1Char(' ') + label);
}

QString AccessFactsBuilder::codeLabel(const QString& description, CItemId id)
{
    return description.isEmpty() ? QStringLiteral("code %1").arg(id.value()) : description;
}

int AccessFactsBuilder::addUser(CItemId id, const QString& label, const QVariant& enabled)
{
    const auto known = m_users.constFind(id.value());
    if (known != m_users.constEnd())
        return *known;
    m_facts.users.append({id, label, accessFlagFromVariant(enabled, true, false), 0, 0});
    m_users.insert(id.value(), m_facts.users.size() - 1);
    return m_facts.users.size() - 1;
}

int AccessFactsBuilder::zone(const QString& name)
{
    const auto known = m_zonePlaces.constFind(name);
    if (known != m_zonePlaces.constEnd())
        return *known;
    const std::optional<CAccessTimeZone> zone = m_zones->find(name);
    if (zone)
        m_facts.zones.append(*zone);
    const int place = zone ? m_facts.zones.size() - 1 : -1;
    m_zonePlaces.insert(name, place);
    return place;
}

int AccessFactsBuilder::addAccessPoint(CItemId id, const QString& label, const QVariant& enabled,
                                       const QVariant& timeZone)
{
    const auto known = m_accessPoints.constFind(id.value());
    if (known != m_accessPoints.constEnd())
        return *known;
    m_facts.accessPoints.append({id, label, accessFlagFromVariant(enabled, true, false), zone(timeZone.toString())});
    m_accessPoints.insert(id.value(), m_facts.accessPoints.size() - 1);
    return m_facts.accessPoints.size() - 1;
}

int AccessFactsBuilder::schedule(const QVariant& id)
{
    if (!id.isValid() || id.isNull() || (id.userType() == QMetaType::QString && id.toString().isEmpty()))
        return CAccessRight::always;
    // 0 names none, as "userId" 0 does; a text that is no number names one that is not known.
    bool isNumber = false;
    const qint64 number = id.canConvert<CItemId>() && id.userType() == qMetaTypeId<CItemId>()
                              ? (isNumber = true, id.value<CItemId>().value())
                              : id.toLongLong(&isNumber);
    if (isNumber && number == 0)
        return CAccessRight::always;
    const qint64 key = isNumber ? number : 0;
    const auto known = m_schedules.constFind(key);
    if (known != m_schedules.constEnd())
        return *known;
    m_facts.schedules.append({key, QString(), CTimeProfile(), false});
    m_schedules.insert(key, m_facts.schedules.size() - 1);
    return m_facts.schedules.size() - 1;
}

void AccessFactsBuilder::describeSchedule(CItemId id, const QString& label, const QVariant& timeSlots,
                                          const QVector<QDate>& holidays)
{
    const int place = m_schedules.value(id.value(), -1);
    if (place < 0 || id == CItemId())
        return;
    CAccessSchedule& schedule = m_facts.schedules[place];
    schedule.label = label;
    const std::optional<CTimeProfile> profile = CTimeProfile::fromText(timeSlots.toString(), nullptr);
    if (!profile)
        return;
    schedule.isKnown = true;
    schedule.profile = *profile;
    schedule.profile.setHolidays(holidays);
}

int AccessFactsBuilder::addRight(const CAccessRight& right)
{
    if (right.id != CItemId()) {
        const auto known = m_rights.constFind(right.id.value());
        if (known != m_rights.constEnd())
            return *known;
        m_rights.insert(right.id.value(), m_facts.rights.size());
    }
    m_facts.rights.append(right);
    return m_facts.rights.size() - 1;
}

void AccessFactsBuilder::addCredential(int user, CItemId id, const QString& label, const QVariant& blocked,
                                       const CAccessPeriod& period)
{
    m_credentials.append({user, {id, label, !accessFlagFromVariant(blocked, false, true), period}});
}

CAccessFacts AccessFactsBuilder::take()
{
    const auto before = [](const OwnedCredential& a, const OwnedCredential& b) {
        return a.user != b.user ? a.user < b.user : a.credential.id < b.credential.id;
    };
    std::sort(m_credentials.begin(), m_credentials.end(), before);
    m_facts.credentials.reserve(m_credentials.size());
    for (const OwnedCredential& owned : qAsConst(m_credentials)) {
        CAccessUser& user = m_facts.users[owned.user];
        if (user.credentialCount++ == 0)
            user.firstCredential = m_facts.credentials.size();
        m_facts.credentials.append(owned.credential);
    }
    m_facts.sort();
    return std::move(m_facts);
}
