#pragma once

#include <server/bridge/bridge_intake_p.h>
#include <server/bridge/bridge_message_p.h>
#include <server/bridge/told_numbers_p.h>

#include <QtCore/QMap>

#include <limits>

class CDatabase;

/// What servers have told a broker, and what is still to be told, in the database that they share.
///
/// A change or an event becomes a message of one server: of the one that made it, or, where that has no bridge, of the
/// one that holds the publisher's lock. It gets its number in the transaction in which it is taken up, so that a server
/// that is killed sends the same again under the same number. Where the database turns out to be an older copy, numbers
/// begin anew with another epoch, see ToldNumbers; what waits for the broker keeps its order.
class KYR_SERVER_TEST_EXPORT BridgeStore
{
public:
    /// Kept behind the last acknowledged one, for those who missed some.
    static constexpr int keptMessages = 10000;

    BridgeStore(CDatabase* database, const BridgeTopics& topics, const QString& server);

    /// "Model", "Access" and "Audit".
    static const QStringList& sources();

    /// Whether something was ever stored; before that there is nothing to tell, and nothing is made.
    bool exists();
    /// Makes the rows of this server at need: it tells what happens from now on. False when the database is busy or
    /// away.
    bool open();
    bool isOpen() const { return !m_epochs.isEmpty(); }
    /// To be opened again, behind a time in which the database may have been exchanged.
    void close();
    /// A name for the database, which tells nothing of it.
    QString installation();

    using Result = BridgeIntake::Result;
    /// Makes messages of what happened meanwhile; what failed is to be tried again. Writes nothing when nothing did.
    Result collect();
    /// Takes the publisher's lock over from a server that does not renew it any more, or renews it. Called each
    /// `beatMs`.
    void beat();
    bool isPublisher() const { return m_isPublisher; }
    static constexpr int beatMs = 2000;
    /// Beats without a renewal until the lock is taken over.
    static constexpr int missedBeats = 3;

    QString epoch(const QString& source) const { return m_epochs.value(source); }
    /// The last number that the broker is known to have.
    qint64 acknowledged(const QString& source) const { return m_acknowledged.value(source); }
    /// Whether numbers may have been given behind that one.
    bool hasMore(const QString& source, qint64 seq) const { return m_last.value(source) > seq; }
    /// Messages behind `seq` up to `upTo`, in order.
    QList<BridgeMessage> messages(const QString& source, qint64 seq, int limit,
                                  qint64 upTo = std::numeric_limits<qint64>::max());
    /// How many wait for the broker; while it cannot be read, how many did.
    qint64 waiting();
    bool acknowledge(const QMap<QString, qint64>& upTo);

private:
    bool begin();
    bool end(bool good);
    bool ensureSource(const QString& source);
    bool renewEpoch(const QString& source);
    bool append(const BridgeNews& news);
    bool store(const QString& source, const BridgeMessage& message);
    qint64 nextSeq(const QString& source);
    void noteTold();

    CDatabase* m_database;
    BridgeTopics m_topics;
    QString m_server;
    BridgeIntake m_intake;
    QString m_installation;
    QMap<QString, QString> m_epochs;
    QMap<QString, qint64> m_acknowledged;
    QMap<QString, qint64> m_given; ///< numbers given within the transaction that is open
    QMap<QString, qint64> m_last;  ///< numbers given so far
    ToldNumbers m_told;
    qint64 m_waiting = 0; ///< when it could be read last
    bool m_isPublisher = false;
    qint64 m_seenBeat = -1;
    int m_sameBeats = 0;
};
