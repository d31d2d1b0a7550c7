#pragma once

#include <server/audit/audit_event.h>
#include <server/audit/audit_head.h>
#include <server/database/database.h>
#include <server/database/export.h>

#include <foundation/datatypes/data_type.h>

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>

#include <functional>
#include <memory>

class QIODevice;

/// What happened in an installation, in an order that nobody changes unseen.
///
///     CAuditTrail trail(&database);
///     trail.setChainName(QStringLiteral("north"));
///     database.begin();
///     ...                                             // the change itself
///     trail.append({AuditKind::Changed, 0, {}, user, {}, operatorName, {{"what", "set"}}});
///     database.end(true);                             // both are stored, or neither
///
/// Each server writes a chain of its own; each event carries the hash of the one before. What a chain alone cannot
/// show is that its end was cut off or that all of it was written anew: signed heads show it to whoever keeps them
/// elsewhere. One is signed each 1,000 events by itself, others by signHeads().
///
/// The key stands beside the database as "audit.key". One object belongs to the thread of its database.
class KYR_SERVER_EXPORT CAuditTrail : public QObject
{
    Q_OBJECT

public:
    static constexpr int eventsPerHead = 1000;
    /// Of a retention, in one transaction: one of half a million would hold up every other change for seconds.
    static constexpr int rowsPerCut = 5000;
    /// Of a payload, in bytes; an event with more is stored without its details and says so.
    static constexpr int largestPayload = 65536;

    struct Filter
    {
        CItemId accessPoint{}; ///< 0 for all, here and below
        CItemId user{};
        QList<AuditKind> kinds{}; ///< empty for all
        qint64 from = 0;          ///< ms since 1970 UTC, included
        qint64 to = 0;            ///< included; 0 for no end
    };

    struct Fault
    {
        qint64 chain;
        qint64 seq;
        QString what;
    };

    struct Report
    {
        qint64 events = 0;
        QList<Fault> faults{}; ///< at most mostFaults; more are counted
        qint64 moreFaults = 0;
        bool ok() const { return faults.isEmpty() && moreFaults == 0; }
    };
    static constexpr int mostFaults = 1000;

    /// The database is not owned and outlives this.
    explicit CAuditTrail(CDatabase* database, QObject* parent = nullptr);
    ~CAuditTrail() override;

    CDatabase* database() const;

    /// Whose chain this process writes.
    void setChainName(const QString& name);
    QString chainName() const;
    /// Shared by all who have no name.
    static QString defaultChainName() { return QStringLiteral("console"); }
    /// Who is noted where an event names nobody.
    void setOperatorName(const QString& name);
    /// What went wrong last, in one line.
    QString errorString() const;

    /// Stores events at the end of the chain, within the transaction that is open, or in one of their own. False, and
    /// nothing stored, when the database refuses; an open transaction is then undone at its end.
    bool append(const AuditEvent& event);
    bool append(const QList<AuditEvent>& events);

    /// Where each chain stands now, signed and kept; one that was signed there already is not signed again. `reason` as
    /// AuditHead has it. Empty when nothing was recorded, and when it failed.
    QList<AuditHead> signHeads(const QString& reason);
    /// Heads that are kept, by chain and number.
    QList<AuditHead> heads();
    /// The public part of the key, PEM; made at need. Empty with a reason in errorString().
    QByteArray publicKey();

    /// Oldest first: by time, then chain and number. With a limit above 0 the newest so many, and in *left how many of
    /// those that fit the filter were left out.
    QList<AuditRecord> events(const Filter& filter, int limit = 0, qint64* left = nullptr);
    /// What came behind the numbers of `ends`, one for each chain, by time; those are moved to the last ones then.
    QList<AuditRecord> newEvents(const Filter& filter, QMap<qint64, qint64>* ends);
    /// The last number of each chain.
    QMap<qint64, qint64> ends();
    /// What items were called that are gone, as far as their last changes are not erased.
    QMap<CItemId, QString> formerLabels(const QList<CItemId>& items);
    /// Names of the chains by their numbers.
    QMap<qint64, QString> chains();

    /// Reads everything and looks whether all of it fits, also with heads that were kept elsewhere. `progress` is told
    /// the events read so far.
    Report verify(const QList<AuditHead>& kept = {}, const std::function<void(qint64)>& progress = {});

    /// Notes the export, signs, and writes all events as JSON lines or CSV, and the heads. False with a reason.
    bool exportJsonLines(QIODevice& file, QIODevice& heads);
    bool exportCsv(QIODevice& file, QIODevice& heads);

    /// Removes the beginnings of all chains that were recorded longer than the period before `now` (milliseconds since
    /// 1970 UTC), and notes it. The number of events removed, -1 when it failed: what was removed before a failure
    /// stays removed, each cut with its head.
    qint64 retain(CDataRetainPeriod period, qint64 now);
    /// Takes the contents out of all events that concern this user; places and hashes stay. The number of
    /// events, -1 when it failed.
    qint64 erase(CItemId user);

Q_SIGNALS:
    /// Events were stored by this object; those in a transaction that is still open may be undone with it.
    void appended();
    void headSigned(const AuditHead& head);

private:
    class Private;
    std::unique_ptr<Private> d;
};
