#pragma once

#include <server/audit/audit_trail.h>
#include <server/audit/clock_watch.h>

#include <QtCore/QTimer>

/// What a server itself has to tell the trail: that it starts and ends, that the clock of its machine was set, who
/// logs in, and each hour where the chains stand, signed.
///
///     auto keeper = std::make_unique<CTrailKeeper>(&trail, QStringLiteral("root"));       // "start"
///     keeper->noteLogin(QString(), peer, QStringLiteral("notifications"));
///     keeper.reset();                                              // "end", and the heads
///
/// What the database does not take at once is stored later, with the time at which it happened, and once, whatever the
/// database leaves open; the end is tried once. More than a thousand events do not wait: the log says how many were
/// lost.
class KYR_SERVER_EXPORT CTrailKeeper : public QObject
{
    Q_OBJECT

public:
    /// Of refused log-ins, in a minute: strangers have a say in them. What is left out is counted.
    static constexpr int mostRefusals = 60;

    /// The trail is not taken over; its chain has its name already, and it names nobody as the operator by itself. Who
    /// started the server is told.
    CTrailKeeper(CAuditTrail* trail, const QString& operatorName, QObject* parent = nullptr);
    ~CTrailKeeper() override;

    /// Who ends the server, if it ends now; by default who has started it.
    void setOperatorName(const QString& name) { m_operatorName = name; }

    /// A log-in from the address `peer` by that way; with a `reason` it was refused.
    void noteLogin(const QString& reason, const QString& peer, const QString& way);

Q_SIGNALS:
    /// The clock of this machine was set forward by so many milliseconds (negative: back).
    void clockSet(qint64 by);

private:
    void look();
    void note(AuditEvent event);
    void store();
    void settle(bool isStored);

    CAuditTrail* m_trail;
    QString m_operatorName;
    CClockWatch m_watch;
    QTimer m_lookTimer{this};
    QTimer m_headTimer{this};
    QList<AuditEvent> m_unstored;
    qsizetype m_doubtful = 0; // of these, from the first on: the database has not said whether it has stored them
    int m_lost = 0;
    qint64 m_minute = 0; // to which the count belongs
    int m_refusals = 0;
    int m_leftOut = 0;
    bool m_isFaultTold = false;
};
