#pragma once

#include <foundation/access/access_facts.h>
#include <foundation/access/access_verdict.h>
#include <foundation/access/lock_credential.h>

#include <QtCore/QHash>
#include <QtCore/QStringList>

#include <optional>

/// One way through a door: a credential, under one right.
struct KYR_FOUNDATION_EXPORT CLockEntry
{
    /// What open ends of a period are written as, and read from: seconds since
    /// 1970.
    static constexpr qint64 earliest = 0;
    static constexpr qint64 latest = 253402300799;

    CLockCredential credential;
    /// Number of a schedule of the list. 0, or one that the list has not, never
    /// opens.
    quint8 schedule = 0;
    /// Of the right and of the credential; the door opens in their common part.
    /// Both are readable.
    CAccessPeriod rightPeriod;
    CAccessPeriod credentialPeriod;
    CItemId user;
    /// The medium, or the code.
    CItemId medium;

    /// The authorization: type 9 for a UID, 6 for a code, point 1, the common
    /// part of the periods in UTC. UIDs have all their bytes, which
    /// CAuthorizationTypeData::toStringList() does not keep.
    QStringList toStringList() const;
    /// The fields of the string-list form, user and medium, and for a credential
    /// with a period of its own both periods;
    /// ";" between them. Empty for no credential.
    QByteArray toLine() const;
    /// Reads what toLine() gives, nothing else.
    static std::optional<CLockEntry> fromLine(const QByteArray& line);
};

/// What a lock says to a credential.
struct CLockDecision
{
    CAccessReason reason = CAccessReason::CredentialUnknown;
    /// Whether the list has the credential; if not, user and medium are 0.
    bool isKnown = false;
    CItemId user;
    CItemId medium;

    bool isAllowed() const { return reason == CAccessReason::None; }
};

/// The list that a lock decides by: entries, schedules with their holidays, and
/// whether to ask the server about what they do not open. It has one form, a
/// text of lines in the order of their bytes, each once:
///
///     0;1;offline version, whether to ask
///     9;04:A1:22:3B;1;1;1970-01-01T00:00:00Z;9999-12-31T23:59:59Z;33;100203
///     s;1;2026-12-25,2026-12-26;Mon-Fri 07:00-19:00; Sat 08:00-12:00 number,
///     holidays, slots
///
/// and a revision, the SHA-256 of that text: two lists that decide alike by the
/// same entries have the same. A change travels as the lines that go ("-") and
/// that come ("+").
class KYR_FOUNDATION_EXPORT CLockList
{
public:
    static constexpr int mostSchedules = 255;
    static constexpr int mostEntries = 100000;
    static constexpr int mostHolidays = 10000;
    /// In bytes.
    static constexpr int largestText = 32 * 1024 * 1024;

    /// A list that opens to nobody.
    CLockList() = default;

    /// Nothing for a text that is not exactly the form of a list; *error (if
    /// given) says in which line, but not what stands there, for that may be a
    /// code.
    static std::optional<CLockList> fromText(const QByteArray& text, QString* error = nullptr);
    /// 64 hexadecimal digits.
    static QByteArray revisionOf(const QByteArray& text);
    /// What leads from one text to another.
    static QByteArray delta(const QByteArray& from, const QByteArray& to);
    /// Nothing when the delta does not fit: it takes away what is not there, or
    /// adds what is.
    static std::optional<QByteArray> applied(const QByteArray& text, const QByteArray& delta);

    /// Decided as CAccessEvaluator does, `at` in seconds since 1970. InvalidPIN
    /// for an unknown code, CredentialUnknown for any other credential that the
    /// list has not.
    CLockDecision decide(const CLockCredential& credential, qint64 at, const CAccessTimeZone& zone) const;

    bool asksOnline() const { return m_asksOnline; }
    /// In no order that means anything.
    const QVector<CLockEntry>& entries() const { return m_entries; }
    /// The number of schedules.
    int scheduleCount() const;

private:
    bool readLine(const QByteArray& line);
    bool readHeader(const QByteArray& line);
    bool readSchedule(const QByteArray& line);
    void index();

    QVector<CLockEntry> m_entries; // those of a credential together
    QHash<CLockCredential, int> m_firstEntries;
    QVector<CAccessSchedule> m_schedules; // by number
    bool m_asksOnline = false;
};

/// Makes the text of a list.
class KYR_FOUNDATION_EXPORT CLockListBuilder
{
public:
    void setAsksOnline(bool asks) { m_asksOnline = asks; }
    /// The number for a schedule: that of an equal one when there is one. 0 when
    /// all numbers are taken: see error().
    quint8 schedule(const CTimeProfile& profile);
    /// One that never opens but explains itself may be appended; one without a
    /// credential is passed over.
    void append(const CLockEntry& entry);

    /// Why the lock cannot have this list: too many schedules, entries, holidays,
    /// too much text; empty when it can.
    QString error() const { return m_error; }
    QByteArray text() const;

private:
    void add(const QByteArray& line);

    QHash<QByteArray, quint8> m_numbers;
    QVector<QByteArray> m_lines;
    QString m_error;
    qint64 m_size = 0; // of the text
    int m_entryCount = 0;
    bool m_asksOnline = false;
};
