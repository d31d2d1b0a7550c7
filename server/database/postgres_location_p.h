#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <utility>

/// "postgresql://[USER@]HOST[:PORT]/NAME", where a server of PostgreSQL is and what the database is called. HOST may be
/// a folder that holds the server's socket, also as "postgresql:///NAME?host=FOLDER".
struct PostgresLocation
{
    using Options = QList<std::pair<QByteArray, QByteArray>>;

    /// Whether a text is meant to be one.
    static bool isOne(const QString& text);
    /// False with a reason, which never repeats a password. `authority` is the file of the certificate authority that
    /// the server's certificate is checked with; without one the client library's own place for it is looked at.
    bool parse(const QString& url, const QString& authority, QString* error);

    /// The connection stays on this machine.
    bool isLocal() const;
    /// Whether the host is a name that has to be looked up.
    bool isName() const;
    /// For the client library. `addresses` are those of the host where they are known already. Waits in milliseconds.
    Options options(int statementWait, int lockWait, const QStringList& addresses = {}) const;

    QString url;
    QString host;
    QString port;
    QString user;
    QString database;
    QString authority;
};
