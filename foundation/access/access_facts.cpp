#include <foundation/access/access_facts.h>

#include <QtCore/QDateTime>

#include <algorithm>
#include <tuple>

namespace {

using DayEdge = CAccessTimeZone::DayEdge;

bool isAbsent(const QVariant& value)
{
    return !value.isValid() || value.userType() == QMetaType::Nullptr
           || (value.userType() == QMetaType::QString && value.toString().isEmpty());
}

} // namespace

std::optional<qint64> accessInstantFromVariant(const QVariant& value, const CAccessTimeZone& zone, DayEdge edge)
{
    if (value.userType() == QMetaType::QDate && value.toDate().isValid())
        return zone.instantFromText(value.toDate().toString(Qt::ISODate), edge);
    if (value.userType() == QMetaType::QDateTime) {
        const QDateTime dateTime = value.toDateTime();
        if (!dateTime.isValid())
            return std::nullopt;
        const qint64 milliseconds = dateTime.toMSecsSinceEpoch();
        return (milliseconds - (milliseconds % 1000 + 1000) % 1000) / 1000;
    }
    if (value.userType() == QMetaType::QString)
        return zone.instantFromText(value.toString(), edge);
    return std::nullopt;
}

CAccessPeriod CAccessPeriod::fromVariants(const QVariant& from, const QVariant& to, const CAccessTimeZone& zone)
{
    CAccessPeriod period;
    const auto read = [&](const QVariant& value, DayEdge edge, qint64* end) {
        if (isAbsent(value))
            return;
        const std::optional<qint64> instant = accessInstantFromVariant(value, zone, edge);
        period.isReadable = period.isReadable && instant.has_value();
        *end = instant.value_or(*end);
    };
    read(from, DayEdge::Begin, &period.from);
    read(to, DayEdge::End, &period.to);
    return period;
}

bool accessFlagFromVariant(const QVariant& value, bool absent, bool unreadable)
{
    if (isAbsent(value))
        return absent;
    const QString text = value.toString();
    if (text == QLatin1String("true") || text == QLatin1String("1"))
        return true;
    if (text == QLatin1String("false") || text == QLatin1String("0"))
        return false;
    return unreadable;
}

void CAccessFacts::sort()
{
    const auto place = [this](CAccessGrant grant) {
        const CAccessRight& right = rights.at(grant.right);
        // The position keeps rights without ids apart.
        return std::make_tuple(users.at(grant.user).id, grant.user, accessPoints.at(right.accessPoint).id,
                               right.accessPoint, right.id, grant.right);
    };
    const auto before = [&](CAccessGrant a, CAccessGrant b) { return place(a) < place(b); };
    const auto same = [&](CAccessGrant a, CAccessGrant b) { return place(a) == place(b); };
    if (!std::is_sorted(grants.cbegin(), grants.cend(), before))
        std::sort(grants.begin(), grants.end(), before);
    grants.erase(std::unique(grants.begin(), grants.end(), same), grants.end());
    for (const CAccessUser& user : qAsConst(users)) {
        const auto begin = credentials.begin() + user.firstCredential;
        std::sort(begin, begin + user.credentialCount, [](const auto& a, const auto& b) { return a.id < b.id; });
    }
}

void CAccessFacts::restrictToCredential(CItemId credential)
{
    isRestricted = true;
    for (CAccessUser& user : users) {
        const int end = user.firstCredential + user.credentialCount;
        int found = user.firstCredential;
        while (found < end && credentials.at(found).id != credential)
            ++found;
        user.firstCredential = found < end ? found : 0;
        user.credentialCount = found < end ? 1 : 0;
    }
}

CAccessTimeZone CAccessFacts::zoneOf(int accessPoint) const
{
    const int zone = accessPoints.at(accessPoint).zone;
    return zone >= 0 ? zones.at(zone) : CAccessTimeZone();
}
