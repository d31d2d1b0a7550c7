#include <server/outbox/mail_outbox.h>

#include <foundation/mail/mail_message.h>
#include <foundation/mail/smtp_client.h>
#include <server/database/sql_statement_p.h>

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QSysInfo>

namespace {

// A run takes at most ten seconds; who has been killed holds it no longer than that.
constexpr int holdSeconds = 15;
// How late a mail may be that another program has queued, or held when it was killed.
constexpr qint64 longestSleepMs = 15000;
// Until a result is noted that the database did not take.
constexpr int noteAgainMs = 1000;
constexpr qint64 longestToken = 100000;

enum State
{
    Waits = 0,
    GivenUp = 1
};

bool isForGood(const QString& error)
{
    return error.contains(QLatin1String("(55"));
}

// Seconds until the next try; tries is that of those that have failed, at least 1.
qint64 pauseAfter(int tries)
{
    qint64 pause = CMailOutbox::firstPause;
    for (int i = 1; i < tries && pause < CMailOutbox::longestPause; ++i)
        pause *= 2;
    return qMin<qint64>(pause, CMailOutbox::longestPause);
}

} // namespace

struct CMailOutbox::Held
{
    qint64 id = 0;
    qint64 mail = 0;
    int tries = 0;
    QString recipient;
    QByteArray content;
    qint64 until = 0;
};

struct CMailOutbox::Conclusion
{
    Held held;
    bool isSent;
    bool isGivenUp;
    qint64 next;
    QString text;
};

CMailOutbox::CMailOutbox(CDatabase* database, QObject* parent)
    : QObject(parent)
    , m_database(database)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &CMailOutbox::sendNext);
}

CMailOutbox::~CMailOutbox()
{
    delete m_client; // ends the run; the mail is tried again
    if (m_unnoted && !note(*m_unnoted))
        qCritical("A mail to %s was %s, but this could not be stored: %s", qUtf8Printable(m_unnoted->held.recipient),
                  m_unnoted->isSent ? "sent" : "not sent", qUtf8Printable(m_database->errorString()));
}

bool CMailOutbox::queue(const CMailMessage& message, const QStringList& addresses, QString& error)
{
    const QString all = addresses.join(QLatin1Char(','));
    const QString fault = CSmtpClient::addressFault(all);
    const QStringList each = all.split(QRegularExpression(QStringLiteral("[,; ]+")), Qt::SkipEmptyParts);
    const QByteArray content = message.toBytesWithoutSender(all);
    if (!fault.isEmpty())
        error = fault;
    else if (each.size() > mostRecipients)
        error = QStringLiteral("a mail can have at most %1 recipients").arg(mostRecipients);
    else if (content.size() > largestMail)
        error = QStringLiteral("a mail with its attachments can have at most %1 MiB").arg(largestMail / 1024 / 1024);
    if (!error.isEmpty())
        return false;
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    bool good = m_database->begin();
    qint64 mail = 0;
    if (good) {
        SqlStatement insert(m_database, QStringLiteral("INSERT INTO mail(created,subject,content) VALUES(?,?,?) "
                                                       "RETURNING id"));
        good = insert.bind(now).bind(message.subject()).bind(QVariant(content)).exec() && insert.next();
        mail = good ? insert.integer(0) : 0;
    }
    QSet<QString> known;
    for (const QString& address : each) {
        if (known.contains(address))
            continue;
        known.insert(address);
        SqlStatement insert(m_database,
                            QStringLiteral("INSERT INTO mail_recipient(mail,address,state,tries,next,held,error) "
                                           "VALUES(?,?,0,0,?,0,'')"));
        good = good && insert.bind(mail).bind(address).bind(now).exec();
    }
    if (!m_database->end(good)) {
        error = m_database->errorString();
        return false;
    }
    wake();
    return true;
}

void CMailOutbox::start(const Settings& settings)
{
    m_settings = settings;
    m_started = true;
    connect(m_database, &CDatabase::changedByOthers, this, &CMailOutbox::wake, Qt::UniqueConnection);
    // Whoever has begun anew may have put right what was wrong.
    if (m_database->exists() && waiting() > 0) {
        bool good = m_database->begin();
        SqlStatement due(m_database, QStringLiteral("UPDATE mail_recipient SET next=? WHERE state=0 AND next>?"));
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        good = good && due.bind(now).bind(now).exec();
        m_database->end(good);
    }
    wake();
}

void CMailOutbox::wake()
{
    if (m_started && !m_client)
        m_timer.start(0);
}

// Takes the next one that is due; else says when one will be, 0 for never. What is due later than any pause is long was
// put off before the clock was set back.
bool CMailOutbox::hold(Held& held, qint64& nextDue)
{
    nextDue = 0;
    if (!m_database->exists())
        return false;
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    {
        SqlStatement find(m_database,
                          QStringLiteral("SELECT MIN(CASE WHEN held>next AND held<=? THEN held WHEN "
                                         "next<=? THEN next ELSE ? END) FROM mail_recipient WHERE state=0"));
        if (!find.bind(now + holdSeconds).bind(now + longestPause).bind(now).exec() || !find.next() || find.isNull(0))
            return false;
        nextDue = find.integer(0);
    }
    if (nextDue > now)
        return false;
    bool good = m_database->begin();
    if (good) {
        SqlStatement find(m_database,
                          QStringLiteral("SELECT r.id,r.mail,r.tries,r.address,m.content FROM mail_recipient r JOIN "
                                         "mail m ON m.id=r.mail WHERE r.state=0 AND (r.next<=? OR r.next>?) AND "
                                         "(r.held<=? OR r.held>?) ORDER BY r.next,r.id LIMIT 1"));
        good = find.bind(now).bind(now + longestPause).bind(now).bind(now + holdSeconds).exec() && find.next();
        if (good)
            held = {find.integer(0), find.integer(1), int(find.integer(2)),
                    find.text(3),    find.bytes(4),   now + holdSeconds};
    }
    if (good) {
        // A try that is never concluded counts, too: what kills the program is not sent for ever.
        SqlStatement take(m_database, QStringLiteral("UPDATE mail_recipient SET held=?,tries=? WHERE id=?"));
        good = take.bind(held.until).bind(held.tries + 1).bind(held.id).exec() && take.changed() == 1;
    }
    return m_database->end(good) && good;
}

void CMailOutbox::sendNext()
{
    if (m_client)
        return;
    if (m_unnoted && !note(*m_unnoted))
        return m_timer.start(noteAgainMs);
    m_unnoted.reset();
    auto held = std::make_unique<Held>();
    qint64 nextDue = 0;
    if (!hold(*held, nextDue)) {
        const qint64 wait = (nextDue - QDateTime::currentSecsSinceEpoch()) * 1000;
        m_timer.start(int(nextDue == 0 ? longestSleepMs : qBound(qint64(100), wait, longestSleepMs)));
        return;
    }
    m_held = std::move(held);
    m_client = new CSmtpClient(m_settings.account, m_settings.password, m_settings.server,
                               QStringLiteral("//") + QSysInfo::machineHostName(), this);
    QFile tokenFile(m_settings.tokenFile);
    if (!m_settings.tokenFile.isEmpty() && tokenFile.open(QIODevice::ReadOnly))
        m_settings.token = QString::fromUtf8(tokenFile.readLine(longestToken).trimmed());
    m_client->setAccessToken(m_settings.token);
    connect(m_client, &CSmtpClient::finished, this, &CMailOutbox::conclude);
    if (!m_client->sendMail(m_held->recipient, CMailMessage::senderLine(m_settings.account) + m_held->content))
        conclude(QStringLiteral("not started: the server or the account is not a valid address"));
}

void CMailOutbox::conclude(const QString& error)
{
    const bool isSent = error.isEmpty() || m_client->isAccepted();
    const QString cause = m_client->connectionFault();
    const QString text = isSent ? QString() : cause.isEmpty() ? error : QStringLiteral("%1 (%2)").arg(error, cause);
    m_client->deleteLater();
    m_client = nullptr;
    const std::unique_ptr<Held> held = std::move(m_held);
    const QString recipient = held->recipient;
    const int tries = held->tries + 1;
    const bool isGivenUp = !isSent && (isForGood(error) || tries >= mostTries);
    const qint64 next = QDateTime::currentSecsSinceEpoch() + pauseAfter(tries);
    m_unnoted.reset(new Conclusion{std::move(*held), isSent, isGivenUp, next, text});
    if (note(*m_unnoted))
        m_unnoted.reset();
    else
        qWarning("A mail to %s was %s, but this cannot be stored yet: %s", qUtf8Printable(m_unnoted->held.recipient),
                 isSent ? "sent" : "not sent", qUtf8Printable(m_database->errorString()));
    if (isGivenUp)
        qWarning("A mail to %s was given up: %s", qUtf8Printable(recipient), qUtf8Printable(text));
    m_timer.start(m_unnoted ? noteAgainMs : 0);
    Q_EMIT tried(recipient, text);
}

// Twice is as good as once.
bool CMailOutbox::note(const Conclusion& conclusion)
{
    const Held& held = conclusion.held;
    bool good = m_database->begin();
    if (conclusion.isSent) {
        SqlStatement remove(m_database, QStringLiteral("DELETE FROM mail_recipient WHERE id=?"));
        good = good && remove.bind(held.id).exec();
        SqlStatement clean(m_database, QStringLiteral("DELETE FROM mail WHERE id=? AND NOT EXISTS(SELECT 1 FROM "
                                                      "mail_recipient WHERE mail=?)"));
        good = good && clean.bind(held.mail).bind(held.mail).exec();
    } else {
        // As long as nobody else has taken it.
        SqlStatement note(m_database,
                          QStringLiteral("UPDATE mail_recipient SET state=?,next=?,held=0,error=? WHERE id=? "
                                         "AND held=?"));
        good = good
               && note.bind(int(conclusion.isGivenUp ? GivenUp : Waits))
                      .bind(conclusion.next)
                      .bind(conclusion.text)
                      .bind(held.id)
                      .bind(held.until)
                      .exec();
    }
    return m_database->end(good);
}

QList<CMailOutbox::Entry> CMailOutbox::entries() const
{
    QList<Entry> found;
    SqlStatement find(m_database, QStringLiteral("SELECT r.id,r.address,m.subject,m.created,r.tries,r.next,r.state,"
                                                 "r.error FROM mail_recipient r JOIN mail m ON m.id=r.mail ORDER BY "
                                                 "r.id"));
    for (find.exec(); find.next();) {
        Entry entry;
        entry.id = find.integer(0);
        entry.recipient = find.text(1);
        entry.subject = find.text(2);
        entry.queued = QDateTime::fromSecsSinceEpoch(find.integer(3));
        entry.tries = int(find.integer(4));
        if (find.integer(6) == Waits)
            entry.next = QDateTime::fromSecsSinceEpoch(find.integer(5));
        entry.error = find.text(7);
        found.append(entry);
    }
    return found;
}

static int count(CDatabase* database, int state)
{
    SqlStatement find(database, QStringLiteral("SELECT COUNT(*) FROM mail_recipient WHERE state=?"));
    return find.bind(state).exec() && find.next() ? int(find.integer(0)) : 0;
}

int CMailOutbox::waiting() const
{
    return count(m_database, Waits);
}

int CMailOutbox::givenUp() const
{
    return count(m_database, GivenUp);
}

bool CMailOutbox::remove(qint64 id)
{
    bool good = m_database->begin();
    bool isThere = false;
    {
        SqlStatement remove(m_database, QStringLiteral("DELETE FROM mail_recipient WHERE id=?"));
        good = good && remove.bind(id).exec();
        isThere = good && remove.changed() > 0;
        SqlStatement clean(m_database, QStringLiteral("DELETE FROM mail WHERE NOT EXISTS(SELECT 1 FROM mail_recipient "
                                                      "WHERE mail=mail.id)"));
        good = good && clean.exec();
    }
    return m_database->end(good) && isThere;
}
