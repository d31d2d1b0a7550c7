#pragma once

#include <foundation/access/access_time_zone.h>
#include <foundation/core/item_id.h>

/// Why a door stays closed, in the words of the field.
enum class CAccessReason : quint8
{
    /// It opens.
    None,
    /// No right at the door.
    Unauthorized,
    /// The right's period has not begun or is over, or its schedule is closed.
    NotPermittedAtThisTime,
    CredentialNotEnabled,
    CredentialNotActive,
    CredentialExpired,
    /// The user has no credential, or the one shown belongs to nobody.
    CredentialUnknown,
    InvalidPIN,
    UserDisabled,
    AccessPointDisabled,
    /// A value in the model cannot be read, or there is no such user or door.
    Other,
};

/// The name as it stands in JSON and on the screen, "" for None. Never translated.
KYR_FOUNDATION_EXPORT const char* accessReasonToString(CAccessReason reason);
/// Other for a text that is no reason.
KYR_FOUNDATION_EXPORT CAccessReason accessReasonFromString(const QByteArray& text);

/// How far a chain came before it failed: each step is looked at only when those before it have passed.
enum class CAccessStep : quint8
{
    User,
    AccessPoint,
    RightPeriod,
    Schedule,
    CredentialPresent,
    CredentialEnabled,
    CredentialPeriod,
    Passed,
};

/// One way from a user to a door: user, (group,) right, schedule, credential. Ids are 0 where the chain has no such
/// link: no group for a right of the user's own, no schedule for a right that always holds, no credential where it
/// failed before one was looked at.
struct CAccessChain
{
    CItemId user;
    CItemId accessPoint;
    CItemId group;
    CItemId right;
    CItemId schedule;
    CItemId credential;
    /// Where user, right and credential stand in the facts; -1 for no credential.
    int userIndex = -1;
    int rightIndex = -1;
    int credentialIndex = -1;
    CAccessStep step = CAccessStep::User;
    CAccessReason reason = CAccessReason::Other;

    bool isAllowed() const { return reason == CAccessReason::None; }
};

/// May this user open this door at that moment, and why. A denial is an answer, never an error.
struct CAccessVerdict
{
    /// None when allowed, else that of the chain that came furthest; of several the first by right, then credential.
    CAccessReason reason = CAccessReason::Other;
    /// The moment asked about.
    qint64 at = 0;
    /// The first moment after `at` at which it is allowed as the facts stand; never when it is allowed now, or not
    /// within CTimeProfile::lookAhead.
    qint64 next = CAccessTimeZone::never;
    /// What opens then; -1 when nothing does.
    int nextRightIndex = -1;
    int nextCredentialIndex = -1;
    /// By right, then credential.
    QVector<CAccessChain> chains;

    bool isAllowed() const { return reason == CAccessReason::None; }
};
