#pragma once

#include <server/database/export.h>

#include <foundation/access/lock_messages.h>

#include <optional>

/// What of the events that a lock reports is to be stored: each number of an epoch once, however often it is reported.
/// Without a database: whoever has one asks for the last number that is stored there, stores `news` and `upTo` in one
/// transaction, and only then acknowledges `upTo`.
struct KYR_SERVER_EXPORT CEventIntake
{
    /// In order, none of them stored yet.
    QVector<CLockEvent> news;
    /// The last number that is stored with them.
    qint64 upTo = 0;
    /// A lock reports the oldest that it has first: what is missing before them it has forgotten when its ring was
    /// full.
    qint64 lost = 0;

    /// `stored` is the last number of that epoch that is stored, 0 for none.
    static CEventIntake of(const CLockEvents& events, qint64 stored);
    /// For a lock that has not heard how much is stored of its epoch.
    static std::optional<CLockAcknowledge> reminder(const CLockState& state, qint64 stored);
};
