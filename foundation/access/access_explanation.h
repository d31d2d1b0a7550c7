#pragma once

#include <foundation/access/access_evaluator.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

/// Tells people and programs what was decided and why. The facts are those that the verdict was made from. People get
/// English texts in the door's time; labels are cut after 100 characters,
/// and what would start a line in them is shown as "?".
///
///     DENIED  Clara Dubois (33) at Server Room (3), Sun 2026-11-22 03:10 +01:00: NotPermittedAtThisTime
///       x  Employees (41) > right 9001 > Office hours (Mon-Fri 07:00-19:00): closed, opens Mon 07:00
///       x  own right 9002 (2026-12-01 to 2026-12-31): begins 2026-12-01
///       next: Mon 2026-11-23 07:00 +01:00 by Employees, Blue card 100203
class KYR_FOUNDATION_EXPORT CAccessExplanation
{
public:
    /// The labels of a chain, empty where it has no such link; "always" for a right without a schedule, "own" for one
    /// without a group.
    struct Labels
    {
        QString user;
        QString accessPoint;
        QString group;
        QString schedule;
        QString credential;
    };

    CAccessExplanation() = delete;

    /// The lines shown above: the verdict, a line a chain, and when it would be allowed.
    static QStringList lines(const CAccessFacts& facts, const CAccessVerdict& verdict);
    /// What the chain failed on, such as "closed, opens Mon 07:00"; "opens" when it passed.
    static QString detail(const CAccessFacts& facts, const CAccessChain& chain, qint64 at);
    static Labels labels(const CAccessFacts& facts, const CAccessChain& chain);

    /// "user", "accessPoint", "allowed", "reason" ("" when allowed), "at", "next" (ISO 8601 with the door's offset, or
    /// null) and "chains": objects as of chainsToJson(), and their "detail". Ids are decimal texts, or null.
    static QJsonObject verdictToJson(const CAccessFacts& facts, const CAccessVerdict& verdict);
    /// An object a chain: "user", "accessPoint", "allowed", "reason", "group", "right", "schedule", "credential".
    static QJsonArray chainsToJson(const QVector<CAccessChain>& chains);
};
