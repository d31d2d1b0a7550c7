#pragma once

#include <server/database/database.h>
#include <server/model/password_hash.h>

#include <QtCore/QVariantMap>

/// Logins and sessions as rows. The caller holds a transaction around changes.
class LoginStore
{
public:
    struct Login
    {
        QString name; ///< empty: there is none
        qint64 user = 0;
        unsigned int permissions = 0;
        CPasswordHash password;
        QByteArray secret;
        qint64 secretStep = 0;
    };
    struct Session
    {
        QString login;
        qint64 user = 0;
        unsigned int permissions = 0; ///< of that login
        qint64 expires = 0;           ///< seconds since 1970; 0: there is none
    };

    explicit LoginStore(CDatabase* database);

    QStringList names();
    Login find(const QString& name);
    QStringList namesOfUser(qint64 user);
    /// Of all logins of a user.
    unsigned int permissionsOf(qint64 user);

    bool add(const QString& name, qint64 user, const CPasswordHash& password);
    /// Ends the login's sessions, too.
    bool setPassword(const QString& name, const CPasswordHash& password);
    bool setPermissions(const QString& name, unsigned int permissions);
    /// A null secret: none.
    bool setSecret(const QString& name, const QByteArray& secret);
    /// False when the step, or a later one, was used before.
    bool useStep(const QString& name, qint64 step);
    bool remove(const QString& name);

    bool addSession(const QString& id, const QString& login, const QString& client, const QString& address,
                    unsigned int flags, qint64 now, qint64 expires);
    /// One that has ended is none.
    Session findSession(const QString& id, qint64 now);
    bool removeSession(const QString& id);
    bool removeSessionsOf(qint64 user);

private:
    CDatabase* m_database;
};
