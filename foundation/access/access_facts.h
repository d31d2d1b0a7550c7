#pragma once

#include <foundation/access/time_profile.h>
#include <foundation/core/item_id.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QVector>

/// From when to when something holds: both ends included, to the second.
struct KYR_FOUNDATION_EXPORT CAccessPeriod
{
    static constexpr qint64 first = std::numeric_limits<qint64>::min();
    static constexpr qint64 last = std::numeric_limits<qint64>::max();

    qint64 from = first;
    qint64 to = last;
    /// False when one of the ends could not be read: then it never holds.
    bool isReadable = true;

    bool contains(qint64 instant) const { return isReadable && from <= instant && instant <= to; }

    /// Ends as they stand in the model: date-times, dates (the first begins, the last ends a period) and ISO 8601 texts
    /// of both; without an offset they are local time of `zone`. An end that is not given is open.
    static CAccessPeriod fromVariants(const QVariant& from, const QVariant& to, const CAccessTimeZone& zone);
};

/// An instant as it stands in the model or is typed: a date-time, a date (its begin or its end), or a text of either
/// that CAccessTimeZone::instantFromText() reads; without an offset it is local time of `zone`. Fractions of a second
/// are cut off. Nothing for any other value.
KYR_FOUNDATION_EXPORT std::optional<qint64> accessInstantFromVariant(const QVariant& value, const CAccessTimeZone& zone,
                                                                     CAccessTimeZone::DayEdge edge);

/// Whether a value of the model says yes: a bool, 0 or 1, "true" or "false". One that is not given says `absent`, one
/// that cannot be read `unreadable`.
KYR_FOUNDATION_EXPORT bool accessFlagFromVariant(const QVariant& value, bool absent, bool unreadable);

struct CAccessUser
{
    CItemId id;
    QString label;
    bool isEnabled = true;
    /// The user's own among CAccessFacts::credentials.
    int firstCredential = 0;
    int credentialCount = 0;
};

struct CAccessPoint
{
    CItemId id;
    QString label;
    bool isEnabled = true;
    /// Among CAccessFacts::zones; -1 when it is not known: then no schedule is open there.
    int zone = 0;
};

/// A medium or a code.
struct CAccessCredential
{
    CItemId id;
    QString label;
    bool isEnabled = true;
    CAccessPeriod period;
};

struct CAccessSchedule
{
    CItemId id;
    QString label;
    CTimeProfile profile;
    /// False for one that a right names but that is not there, or cannot be read: it is never open.
    bool isKnown = true;
};

struct CAccessRight
{
    static constexpr int always = -1;

    /// 0 in a model whose rights have no ids.
    CItemId id;
    /// 0 and "" for a right of the user's own.
    CItemId group;
    QString groupLabel;
    /// Among CAccessFacts::accessPoints.
    int accessPoint = 0;
    /// Among CAccessFacts::schedules, or `always`.
    int schedule = always;
    CAccessPeriod period;
    CDataType::AccessRightOptions options;
};

/// That a user has a right, by the right itself or by being a member of its group.
struct CAccessGrant
{
    /// Among CAccessFacts::users and CAccessFacts::rights.
    int user = 0;
    int right = 0;
};

/// What a decision needs to know of the model, as tables that point into each other: for one user at one door, for all
/// users with a right at a door, or for all doors of a user. Whoever has a model fills them, in any order but for the
/// credentials (those of a user together), and then calls sort().
struct KYR_FOUNDATION_EXPORT CAccessFacts
{
    QVector<CAccessTimeZone> zones;
    QVector<CAccessPoint> accessPoints;
    QVector<CAccessUser> users;
    QVector<CAccessCredential> credentials;
    QVector<CAccessSchedule> schedules;
    QVector<CAccessRight> rights;
    QVector<CAccessGrant> grants;
    /// Whether the credentials are those that restrictToCredential() left.
    bool isRestricted = false;

    /// Brings grants into the order of user, door and right, each once, and credentials into that of their ids.
    void sort();
    /// Leaves one credential only, as if the door saw no other; the users it does not belong to then have none.
    void restrictToCredential(CItemId credential);
    /// The zone of a door; UTC when it is not known.
    CAccessTimeZone zoneOf(int accessPoint) const;
};
