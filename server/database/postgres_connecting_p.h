#pragma once

#include <server/database/postgres_location_p.h>

struct pg_conn;

/// What the client library says, in one line, without its guesses and advice.
QString postgresMessage(const char* text);

/// Connects step by step, so that nobody has to stand and wait for it.
class PostgresConnecting
{
public:
    enum State
    {
        Reading, ///< step() again when the socket can be read
        Writing, ///< step() again when the socket can be written
        Done,
        Failed
    };

    explicit PostgresConnecting(const PostgresLocation::Options& options);
    ~PostgresConnecting();
    Q_DISABLE_COPY(PostgresConnecting)

    State state() const { return m_state; }
    State step();
    /// Steps until it is done or has failed, at most so many milliseconds.
    State finish(int milliseconds);
    /// May be another one after each step.
    long long socket() const;
    /// In one line for a person.
    QString error() const;
    /// The caller's to finish.
    pg_conn* take();

private:
    pg_conn* m_connection;
    State m_state;
};
