#include <foundation/access/access_explanation.h>

#include <foundation/core/string_utils.h>

#include <QtCore/QDateTime>

namespace {

constexpr qint64 never = CAccessTimeZone::never;

QString withId(const QString& label, CItemId id)
{
    return QStringLiteral("%1 (%2)").arg(CStringUtils::printable(label), QString::number(id.value()));
}

QDateTime localTime(qint64 instant, const CAccessTimeZone& zone)
{
    return QDateTime::fromSecsSinceEpoch(zone.toLocal(instant), Qt::UTC);
}

// An end of a period: the day alone where the period takes the whole of it.
QString endText(qint64 instant, CAccessTimeZone::DayEdge edge, const CAccessTimeZone& zone)
{
    const QDateTime local = localTime(instant, zone);
    const QTime whole = edge == CAccessTimeZone::DayEdge::Begin ? QTime(0, 0) : QTime(23, 59, 59);
    if (local.time() == whole)
        return local.toString(QStringLiteral("yyyy-MM-dd"));
    return local.toString(local.time().second() != 0 ? QStringLiteral("yyyy-MM-dd HH:mm:ss")
                                                     : QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString beginText(qint64 instant, const CAccessTimeZone& zone)
{
    return endText(instant, CAccessTimeZone::DayEdge::Begin, zone);
}

QString lastText(qint64 instant, const CAccessTimeZone& zone)
{
    return endText(instant, CAccessTimeZone::DayEdge::End, zone);
}

// " (2026-12-01 to 2026-12-31)", or nothing for a period without ends.
QString periodText(const CAccessPeriod& period, const CAccessTimeZone& zone)
{
    const bool begins = period.from != CAccessPeriod::first;
    const bool ends = period.to != CAccessPeriod::last;
    if (begins && ends)
        return QStringLiteral(" (%1 to %2)").arg(beginText(period.from, zone), lastText(period.to, zone));
    if (begins)
        return QStringLiteral(" (from %1)").arg(beginText(period.from, zone));
    return ends ? QStringLiteral(" (until %1)").arg(lastText(period.to, zone)) : QString();
}

// A moment that is near by its day of the week, one that is further away by its date.
QString soonText(qint64 instant, qint64 now, const CAccessTimeZone& zone)
{
    const QDateTime local = localTime(instant, zone);
    const bool isNear = localTime(now, zone).date().daysTo(local.date()) < 7;
    return CAccessTimeZone::dayName(local.date().dayOfWeek())
           + local.toString(isNear ? QStringLiteral(" HH:mm") : QStringLiteral(" yyyy-MM-dd HH:mm"));
}

QString rightText(const CAccessRight& right)
{
    const QString name =
        right.id != CItemId() ? QStringLiteral("right ") + QString::number(right.id.value()) : QStringLiteral("right");
    return right.group == CItemId() ? QString(QStringLiteral("own ") + name)
                                    : QString(withId(right.groupLabel, right.group) + QStringLiteral(" > ") + name);
}

QString scheduleText(const CAccessSchedule& schedule)
{
    if (!schedule.isKnown)
        return QStringLiteral("schedule %1").arg(schedule.id.value());
    const QString slotsText = schedule.profile.toText();
    return QStringLiteral("%1 (%2)").arg(CStringUtils::printable(schedule.label),
                                         slotsText.isEmpty() ? QStringLiteral("no slots") : slotsText);
}

QString scheduleDetail(const CAccessFacts& facts, const CAccessRight& right, qint64 at)
{
    const CAccessSchedule& schedule = facts.schedules.at(right.schedule);
    if (!schedule.isKnown)
        return QStringLiteral("missing or not readable, so never open");
    if (facts.accessPoints.at(right.accessPoint).zone < 0)
        return QStringLiteral("the door's time zone is unknown");
    const CAccessTimeZone zone = facts.zoneOf(right.accessPoint);
    const QDate today = localTime(at, zone).date();
    const QString closed =
        schedule.profile.holidays().contains(today) ? QStringLiteral("closed (holiday)") : QStringLiteral("closed");
    const qint64 opening = schedule.profile.nextOpening(at, zone, at + CTimeProfile::lookAhead);
    return opening == never ? QString(closed + QStringLiteral(", does not open within a year"))
                            : QString(closed + QStringLiteral(", opens ") + soonText(opening, at, zone));
}

QString chainText(const CAccessFacts& facts, const CAccessChain& chain, qint64 at)
{
    const CAccessRight& right = facts.rights.at(chain.rightIndex);
    QString text = rightText(right) + periodText(right.period, facts.zoneOf(right.accessPoint));
    if (chain.step >= CAccessStep::Schedule) {
        text += QStringLiteral(" > ");
        text += right.schedule == CAccessRight::always ? QStringLiteral("always")
                                                       : scheduleText(facts.schedules.at(right.schedule));
    }
    if (chain.credentialIndex >= 0)
        text += QStringLiteral(" > ") + CAccessExplanation::labels(facts, chain).credential;
    return text + QStringLiteral(": ") + CAccessExplanation::detail(facts, chain, at);
}

QString credentialLabel(const CAccessCredential& credential)
{
    return credential.label.isEmpty() ? QStringLiteral("credential %1").arg(credential.id.value())
                                      : CStringUtils::printable(credential.label);
}

QString nextText(const CAccessFacts& facts, const CAccessVerdict& verdict)
{
    if (verdict.next == never)
        return QStringLiteral("  next: not within a year");
    const CAccessRight& right = facts.rights.at(verdict.nextRightIndex);
    return QStringLiteral("  next: %1 by %2, %3")
        .arg(facts.zoneOf(0).displayText(verdict.next),
             right.group == CItemId() ? rightText(right) : CStringUtils::printable(right.groupLabel),
             credentialLabel(facts.credentials.at(verdict.nextCredentialIndex)));
}

QJsonValue idToJson(CItemId id)
{
    return id == CItemId() ? QJsonValue() : QJsonValue(QString::number(id.value()));
}

QJsonObject chainToJson(const CAccessChain& chain)
{
    return {{QStringLiteral("user"), idToJson(chain.user)},
            {QStringLiteral("accessPoint"), idToJson(chain.accessPoint)},
            {QStringLiteral("allowed"), chain.isAllowed()},
            {QStringLiteral("reason"), QLatin1String(accessReasonToString(chain.reason))},
            {QStringLiteral("group"), idToJson(chain.group)},
            {QStringLiteral("right"), idToJson(chain.right)},
            {QStringLiteral("schedule"), idToJson(chain.schedule)},
            {QStringLiteral("credential"), idToJson(chain.credential)}};
}

} // namespace

QStringList CAccessExplanation::lines(const CAccessFacts& facts, const CAccessVerdict& verdict)
{
    if (facts.users.isEmpty() || facts.accessPoints.isEmpty())
        return {QStringLiteral("DENIED  no such %1: Other")
                    .arg(facts.users.isEmpty() ? QStringLiteral("user") : QStringLiteral("door"))};
    const CAccessUser& user = facts.users.first();
    const CAccessPoint& door = facts.accessPoints.first();
    QString head =
        QStringLiteral("%1  %2 at %3, %4")
            .arg(verdict.isAllowed() ? QStringLiteral("ALLOWED") : QStringLiteral("DENIED"),
                 withId(user.label, user.id), withId(door.label, door.id), facts.zoneOf(0).displayText(verdict.at));
    if (!verdict.isAllowed())
        head += QStringLiteral(": ") + QLatin1String(accessReasonToString(verdict.reason));
    QStringList lines{head};
    for (const CAccessChain& chain : verdict.chains) {
        lines.append((chain.isAllowed() ? QStringLiteral("  +  ") : QStringLiteral("  x  "))
                     + chainText(facts, chain, verdict.at));
    }
    if (verdict.chains.isEmpty())
        lines.append(QStringLiteral("  x  no right at this door, neither own nor of a group"));
    if (!verdict.isAllowed())
        lines.append(nextText(facts, verdict));
    return lines;
}

QString CAccessExplanation::detail(const CAccessFacts& facts, const CAccessChain& chain, qint64 at)
{
    const CAccessRight& right = facts.rights.at(chain.rightIndex);
    const CAccessTimeZone zone = facts.zoneOf(right.accessPoint);
    switch (chain.step) {
    case CAccessStep::User:
        return QStringLiteral("the user is disabled");
    case CAccessStep::AccessPoint:
        return QStringLiteral("the door is disabled");
    case CAccessStep::RightPeriod:
        if (!right.period.isReadable)
            return QStringLiteral("its period cannot be read");
        return at < right.period.from ? QStringLiteral("begins ") + beginText(right.period.from, zone)
                                      : QStringLiteral("ended ") + lastText(right.period.to, zone);
    case CAccessStep::Schedule:
        return scheduleDetail(facts, right, at);
    case CAccessStep::CredentialPresent:
        return facts.isRestricted ? QStringLiteral("this credential is not the user's")
                                  : QStringLiteral("the user has no card and no code");
    case CAccessStep::CredentialEnabled:
        return QStringLiteral("blocked");
    case CAccessStep::CredentialPeriod: {
        const CAccessPeriod& period = facts.credentials.at(chain.credentialIndex).period;
        if (!period.isReadable)
            return QStringLiteral("its validity cannot be read");
        return at < period.from ? QStringLiteral("not valid before ") + beginText(period.from, zone)
                                : QStringLiteral("expired ") + lastText(period.to, zone);
    }
    case CAccessStep::Passed:
        break;
    }
    return QStringLiteral("opens");
}

CAccessExplanation::Labels CAccessExplanation::labels(const CAccessFacts& facts, const CAccessChain& chain)
{
    const CAccessRight& right = facts.rights.at(chain.rightIndex);
    Labels labels;
    labels.user = CStringUtils::printable(facts.users.at(chain.userIndex).label);
    labels.accessPoint = CStringUtils::printable(facts.accessPoints.at(right.accessPoint).label);
    labels.group = right.group == CItemId() ? QStringLiteral("own") : CStringUtils::printable(right.groupLabel);
    labels.schedule = right.schedule == CAccessRight::always
                          ? QStringLiteral("always")
                          : CStringUtils::printable(facts.schedules.at(right.schedule).label);
    if (chain.credentialIndex >= 0)
        labels.credential = credentialLabel(facts.credentials.at(chain.credentialIndex));
    return labels;
}

QJsonObject CAccessExplanation::verdictToJson(const CAccessFacts& facts, const CAccessVerdict& verdict)
{
    const CAccessTimeZone zone = facts.accessPoints.isEmpty() ? CAccessTimeZone() : facts.zoneOf(0);
    QJsonArray chains;
    for (const CAccessChain& chain : verdict.chains) {
        QJsonObject object = chainToJson(chain);
        object.insert(QStringLiteral("detail"), detail(facts, chain, verdict.at));
        chains.append(object);
    }
    return {{QStringLiteral("user"), facts.users.isEmpty() ? QJsonValue() : idToJson(facts.users.first().id)},
            {QStringLiteral("accessPoint"),
             facts.accessPoints.isEmpty() ? QJsonValue() : idToJson(facts.accessPoints.first().id)},
            {QStringLiteral("allowed"), verdict.isAllowed()},
            {QStringLiteral("reason"), QLatin1String(accessReasonToString(verdict.reason))},
            {QStringLiteral("at"), zone.isoText(verdict.at)},
            {QStringLiteral("next"), verdict.next == never ? QJsonValue() : QJsonValue(zone.isoText(verdict.next))},
            {QStringLiteral("chains"), chains}};
}

QJsonArray CAccessExplanation::chainsToJson(const QVector<CAccessChain>& chains)
{
    QJsonArray array;
    for (const CAccessChain& chain : chains)
        array.append(chainToJson(chain));
    return array;
}
