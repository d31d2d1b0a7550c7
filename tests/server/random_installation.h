#pragma once

#include <foundation/core/item_id.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>

#include "support/database_places.h"

#include <random>

inline const qint64 begin2026 = 1767225600;

/// An installation in which everything is in relation to everything, with odd values here and there.
class RandomInstallation
{
    DatabasePlaces m_places;

public:
    explicit RandomInstallation(unsigned seed)
        : m_engine(seed)
    {
        model.open(DatabasePlaces::onPostgres() ? m_places.location("random") : QStringLiteral("memory"));
        const CItemId calendar = model.createItem("HolidayCalendars", {{"label", "Days"}});
        for (int i = 0; i < 40; ++i)
            model.createItem(
                "Holidays",
                {{"label", "Day"}, {"calendarId", calendar.value()}, {"date", QDate(2026, 1, 1).addDays(below(365))}});
        for (const char* text :
             {"Mon-Fri 07:00-19:00", "Sat-Mon 22:00-06:00; Holiday 10:00-12:00", "", "Holiday closed"})
            schedules.append(model.createItem(
                "TimeProfiles", {{"label", "S"}, {"slots", text}, {"calendarId", oneIn(2) ? calendar.value() : 0}}));
        for (int i = 0; i < 8; ++i)
            doors.append(model.createAccessPoint({{"label", "Door"},
                                                  {"enabled", oneIn(6) ? QVariant(false) : QVariant()},
                                                  {"timeZone", oneIn(2) ? QVariant("America/New_York") : QVariant()}}));
        for (int i = 0; i < 12; ++i) {
            users.append(model.createUser({{"label", "User"}, {"enabled", oneIn(8) ? QVariant(false) : QVariant()}}));
            for (int k = below(3); k > 0; --k) {
                const bool isCode = oneIn(2);
                QVariantMap credential = period();
                credential.insert(isCode ? "code" : "uid", isCode ? QString::number(100000 + i * 10 + k)
                                                                  : QString::number(0x10000000 + i * 16 + k, 16));
                credential.insert("userId", users.last().value());
                if (oneIn(5))
                    credential.insert("blocked", true);
                if (oneIn(2))
                    credential.insert("description", "Card");
                m_good &= model.createItem(isCode ? "Codes" : "Media", credential) != CItemId();
            }
        }
        for (int i = 0; i < 5; ++i) {
            groups.append(model.createGroup({{"label", "Group"}}));
            for (int k = below(8); k > 0; --k)
                model.addUsersToGroup({pick(users)}, groups.last());
        }
        for (int i = 0; i < 60; ++i) {
            QVariantMap right = period();
            if (!oneIn(4))
                right.insert("timeProfileId", pick(schedules).value());
            m_good &= model.addAccessRight(oneIn(2) ? pick(users) : pick(groups), pick(doors), right) != CItemId();
        }
    }

    bool isGood() const { return m_good; }
    int below(int bound) { return int(m_engine() % unsigned(bound)); }
    bool oneIn(int n) { return below(n) == 0; }
    CItemId pick(const QList<CItemId>& ids) { return ids[below(ids.size())]; }

    CSqlAccessControl model;
    QList<CItemId> users, groups, doors, schedules;

private:
    QVariantMap period()
    {
        QVariantMap map;
        const qint64 from = begin2026 + below(300) * 86400;
        if (oneIn(3))
            map.insert("validFrom", QDateTime::fromSecsSinceEpoch(from, Qt::UTC));
        if (oneIn(3))
            map.insert("validTo", QDateTime::fromSecsSinceEpoch(from + below(200) * 86400, Qt::UTC));
        return map;
    }

    std::mt19937 m_engine;
    bool m_good = true;
};
