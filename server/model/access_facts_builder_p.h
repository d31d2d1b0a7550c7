#pragma once

#include <foundation/access/access_facts.h>

#include <QtCore/QHash>

/// The zones of doors by name, each made once.
class AccessTimeZones
{
public:
    /// Nothing for a name that is none; an empty one means this computer's zone.
    std::optional<CAccessTimeZone> find(const QString& name);

private:
    QHash<QString, std::optional<CAccessTimeZone>> m_zones;
};

/// Puts the tables of CAccessFacts together from what stands in a model. Users, doors and rights are told apart by id:
/// adding one again gives its place.
class AccessFactsBuilder
{
public:
    explicit AccessFactsBuilder(AccessTimeZones* zones)
        : m_zones(zones)
    {
    }

    int addUser(CItemId id, const QString& label, const QVariant& enabled);
    int addAccessPoint(CItemId id, const QString& label, const QVariant& enabled, const QVariant& timeZone);
    /// For the id that a right names, before or after the schedule itself was described; CAccessRight::always for none.
    int schedule(const QVariant& id);
    /// The schedules that rights name, by place.
    const QVector<CAccessSchedule>& schedules() const { return m_facts.schedules; }
    void describeSchedule(CItemId id, const QString& label, const QVariant& timeSlots, const QVector<QDate>& holidays);
    /// A right without an id is always another one.
    int addRight(const CAccessRight& right);
    void addGrant(int user, int right) { m_facts.grants.append({user, right}); }
    void addCredential(int user, CItemId id, const QString& label, const QVariant& blocked,
                       const CAccessPeriod& period);

    /// The place of a user, -1 when there is none.
    int userAt(CItemId id) const { return m_users.value(id.value(), -1); }
    int accessPointAt(CItemId id) const { return m_accessPoints.value(id.value(), -1); }

    CAccessFacts take();

    /// The description, if any, and the label.
    static QString mediumLabel(const QString& description, const QString& label);
    /// A code's own label may be its digits: only the description is shown.
    static QString codeLabel(const QString& description, CItemId id);
    /// Local time of this computer, as ends of periods without an offset are.
    static const CAccessTimeZone& ownZone();

private:
    int zone(const QString& name);

    struct OwnedCredential
    {
        int user;
        CAccessCredential credential;
    };

    AccessTimeZones* m_zones;
    CAccessFacts m_facts;
    QVector<OwnedCredential> m_credentials;
    QHash<qint64, int> m_users;
    QHash<qint64, int> m_accessPoints;
    QHash<qint64, int> m_rights;
    QHash<qint64, int> m_schedules;
    QHash<QString, int> m_zonePlaces;
};
