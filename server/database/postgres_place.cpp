#include <server/database/database_place_p.h>

#include <server/database/database.h>
#include <server/database/postgres_connecting_p.h>
#include <server/database/postgres_connection_p.h>
#include <server/database/schema_p.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <QtNetwork/QHostInfo>

#include <utility>

namespace {

// To reach a server, whatever it takes: names, TLS, the log-in.
constexpr int connectWaitMs = 2000;

class PostgresPlace : public DatabasePlace
{
public:
    PostgresPlace(const PostgresLocation& location, const QString& migrations)
        : m_location(location)
        , m_scripts(Schema::scripts(migrations))
    {
        m_patience.setSingleShot(true);
        m_patience.setInterval(connectWaitMs);
        connect(&m_patience, &QTimer::timeout, this, [this] { miss(QStringLiteral("it does not answer")); });
    }
    ~PostgresPlace() override { QHostInfo::abortHostLookup(m_lookUp); }

    QString backend() const override { return QStringLiteral("postgresql"); }
    bool connectTo(QString* error) override;
    bool isLost(QString* error) const override;
    bool isThere() override { return m_connection && m_connection->version() > 0; }
    bool make(QString*) override { return true; }
    std::shared_ptr<SqlConnection> open(QString* error) override;
    bool hasChanged() override
    {
        const bool hadNews = std::exchange(m_hasNews, false);
        const bool hasNews = m_connection && m_connection->takeNews(); // taken in any case
        return hadNews || hasNews;
    }
    void setAnswerWait(int milliseconds) override;
    void reach() override;

private:
    PostgresLocation::Options options(const QStringList& addresses = {}) const;
    QString away(const QString& reason) const;
    bool adopt(PostgresConnecting& connecting, QString* error);
    void start(const QStringList& addresses);
    void step();
    void miss(const QString& reason);
    void socketReady();
    void leave();
    static void retire(QSocketNotifier** notifier);

    PostgresLocation m_location;
    QList<QStringList> m_scripts;
    std::shared_ptr<PostgresConnection> m_connection;
    QSocketNotifier* m_notifier = nullptr;
    bool m_hasNews = false;
    int m_answerWait = CDatabase::defaultAnswerWait;
    QString m_lostBecause;

    // While it is reached for
    std::unique_ptr<PostgresConnecting> m_connecting;
    QSocketNotifier* m_stepNotifier = nullptr;
    QTimer m_patience;
    int m_lookUp = -1;
};

PostgresLocation::Options PostgresPlace::options(const QStringList& addresses) const
{
    return m_location.options(PostgresConnection::statementWait(m_answerWait),
                              PostgresConnection::lockWait(m_answerWait, CDatabase::defaultWriteWait), addresses);
}

// A server that gives a reason is there, but does not let this program in.
QString PostgresPlace::away(const QString& reason) const
{
    const QLatin1String fatal("FATAL: ");
    return reason.startsWith(fatal) ? m_location.url + QLatin1String(" cannot be used: ") + reason.mid(fatal.size())
                                    : m_location.url + QLatin1String(" is away: ") + reason;
}

bool PostgresPlace::connectTo(QString* error)
{
    PostgresConnecting connecting(options());
    connecting.finish(connectWaitMs);
    return adopt(connecting, error);
}

bool PostgresPlace::adopt(PostgresConnecting& connecting, QString* error)
{
    leave();
    if (connecting.state() != PostgresConnecting::Done) {
        *error = away(connecting.error());
        return false;
    }
    auto connection = std::make_shared<PostgresConnection>(connecting.take(), m_location.url, m_answerWait,
                                                           CDatabase::defaultWriteWait);
    *error = connection->refusal();
    if (error->isEmpty() && !connection->listen())
        *error = connection->error();
    if (!error->isEmpty())
        return false;
    m_connection = std::move(connection);
    m_connection->whenNews = [this] { QMetaObject::invokeMethod(this, &DatabasePlace::noticed, Qt::QueuedConnection); };
    m_connection->whenLost = [this] { retire(&m_notifier); };
    if (QAbstractEventDispatcher::instance()) {
        m_notifier = new QSocketNotifier(qintptr(m_connection->socket()), QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, [this] { socketReady(); });
    }
    // What happened while nobody listened.
    m_hasNews = true;
    return true;
}

// Within one of its own signals, too.
void PostgresPlace::retire(QSocketNotifier** notifier)
{
    if (*notifier == nullptr)
        return;
    (*notifier)->setEnabled(false);
    (*notifier)->deleteLater();
    *notifier = nullptr;
}

// Taken in at once: the notifier would not rest before.
void PostgresPlace::socketReady()
{
    if (m_connection->isAwaited()) {
        if (m_connection->takeLateAnswer()) {
            Q_EMIT reached();
            return;
        }
        if (m_connection->isAwaited())
            return;
    }
    m_hasNews |= m_connection->takeNews();
    Q_EMIT noticed();
}

bool PostgresPlace::isLost(QString* error) const
{
    if (m_connection && !m_connection->isLost())
        return false;
    *error = m_connection ? m_connection->error() : m_lostBecause;
    return true;
}

std::shared_ptr<SqlConnection> PostgresPlace::open(QString* error)
{
    const int version = m_connection ? m_connection->version() : -1;
    if (version < 0)
        *error = m_connection ? m_connection->error() : m_lostBecause;
    else if (version > m_scripts.size())
        *error = Schema::newerText(m_location.url, version, m_scripts.size());
    else if (version == m_scripts.size() || Schema::migrate(*m_connection, m_location.url, m_scripts, error))
        return m_connection;
    return nullptr;
}

void PostgresPlace::setAnswerWait(int milliseconds)
{
    m_answerWait = milliseconds;
    if (m_connection)
        m_connection->setAnswerWait(milliseconds);
}

// --- Reaching for it again

void PostgresPlace::leave()
{
    // Before its socket is closed, whose number may be another's then.
    retire(&m_notifier);
    retire(&m_stepNotifier);
    m_patience.stop();
    if (m_connection)
        m_lostBecause = m_connection->error();
    m_connection.reset();
}

void PostgresPlace::reach()
{
    leave();
    m_connecting.reset();
    QHostInfo::abortHostLookup(m_lookUp);
    m_patience.start();
    if (!m_location.isName())
        return start({});
    m_lookUp = QHostInfo::lookupHost(m_location.host, this, [this](const QHostInfo& info) {
        QStringList addresses;
        const QList<QHostAddress> found = info.addresses();
        for (const QHostAddress& address : found)
            addresses.append(address.toString());
        if (addresses.isEmpty())
            miss(info.errorString());
        else if (m_patience.isActive())
            start(addresses);
    });
}

void PostgresPlace::start(const QStringList& addresses)
{
    m_connecting = std::make_unique<PostgresConnecting>(options(addresses));
    step();
}

void PostgresPlace::step()
{
    retire(&m_stepNotifier);
    const PostgresConnecting::State state = m_connecting->state();
    if (state == PostgresConnecting::Failed)
        return miss(m_connecting->error());
    if (state == PostgresConnecting::Done) {
        const std::unique_ptr<PostgresConnecting> connecting = std::move(m_connecting);
        QString error;
        if (adopt(*connecting, &error))
            Q_EMIT reached();
        else
            miss(error);
        return;
    }
    m_stepNotifier = new QSocketNotifier(
        qintptr(m_connecting->socket()),
        state == PostgresConnecting::Writing ? QSocketNotifier::Write : QSocketNotifier::Read, this);
    connect(m_stepNotifier, &QSocketNotifier::activated, this, [this] {
        // One step may close the socket and go on with another.
        retire(&m_stepNotifier);
        m_connecting->step();
        step();
    });
}

void PostgresPlace::miss(const QString& reason)
{
    m_patience.stop();
    retire(&m_stepNotifier);
    m_connecting.reset();
    m_lostBecause = reason.startsWith(m_location.url) ? reason : away(reason);
    Q_EMIT missed();
}

} // namespace

std::unique_ptr<DatabasePlace> makePostgresPlace(const QString& url, const QString& authority,
                                                 const QString& migrations, QString* error)
{
    PostgresLocation location;
    if (!location.parse(url, authority, error))
        return nullptr;
    return std::make_unique<PostgresPlace>(location, migrations);
}
