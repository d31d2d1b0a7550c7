#pragma once

#include <server/database/sql_connection_p.h>

#include <QtCore/QHash>

struct pg_conn;
struct pg_result;

/// PostgreSQL through its client library, in whose asynchronous way no call waits longer than it is told: Qt's driver
/// would wait for as long as a server that has stopped keeps silent.
class PostgresConnection : public SqlConnection
{
public:
    using Result = std::shared_ptr<pg_result>;

    /// Takes a connection over that is done and was told these waits. `location` is what a person calls it.
    PostgresConnection(pg_conn* connection, const QString& location, int answerWait, int writeWait);
    ~PostgresConnection() override;

    const SqlDialect& dialect() const override { return SqlDialect::postgresql(); }
    std::unique_ptr<SqlCursor> prepare(const QString& sql) override;
    void forgetPrepared() override;
    bool beginWrite(bool isPatient) override;
    bool run(const QString& sql) override;
    QString error() const override { return m_error; }
    bool isLost() const override;
    bool isHeld() const override { return m_isHeld; }
    QString transaction() const override { return m_transaction; }
    Outcome outcomeOf(const QString& transaction) override;
    void setWriteWait(int milliseconds) override;
    int version() override;
    bool setVersion(int version) override;
    QStringList check() override;
    bool copyTo(const QString& file) override;

    /// The limits as the server is told them; the client's own stands a little behind, and ends the connection.
    static int statementWait(int answerWait) { return answerWait - answerWait / 5; }
    static int lockWait(int answerWait, int writeWait);
    void setAnswerWait(int milliseconds);

    /// Whether the database is one that can hold an installation, or holds one: why not, else empty.
    QString refusal();
    bool listen();
    long long socket() const;
    /// Takes in what the server has sent by itself: whether that was news of another program's change. Never waits.
    bool takeNews();
    /// Lost only because an answer did not come in time: it may still come.
    bool isAwaited() const { return m_isAwaited; }
    /// Takes in what has arrived of that answer; true when it was the rest of it, and the connection can be used again.
    /// Never waits but to undo a transaction that was left open.
    bool takeLateAnswer();
    /// Called when news has arrived beside an answer, where nobody waits for it at the socket.
    std::function<void()> whenNews;
    /// Called when it is lost for good: the number of its socket may be another's soon.
    std::function<void()> whenLost;

    /// For the cursors: sends by `send`, waits for the result. Null with a reason in error().
    Result ask(const std::function<int(pg_conn*)>& send, int milliseconds);
    Result askPrepared(const QByteArray& name, int count, const char* const* values, const int* lengths,
                       const int* formats);

private:
    Result query(const QString& sql, int milliseconds);
    bool fail(const Result& result);
    void lose(const QString& reason);
    void collectNews();
    void tellWaits();
    QString heldByAnother() const;
    /// First field of the first row; empty when there is none.
    QString single(const QString& sql);

    pg_conn* m_connection;
    QString m_location;
    QString m_error;
    QHash<QString, QByteArray> m_prepared;
    int m_answerWait;
    int m_writeWait;
    QString m_transaction;
    bool m_isLost = false;
    bool m_isAwaited = false;
    bool m_isHeld = false;
    bool m_hasNews = false;
};
