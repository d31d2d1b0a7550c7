#pragma once

#include <server/database/export.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>

/// Who has to wait before a password is looked at again. Times are milliseconds of any clock that does not go back.
class KYR_SERVER_TEST_EXPORT LoginLimits
{
public:
    static constexpr qint64 window = 60000;
    /// Within the window, for a name from one address: another one cannot lock its owner out.
    static constexpr int wrongPerName = 10;
    static constexpr int refusalsPerAddress = 60;
    /// Addresses, and names at addresses, that are remembered; one more takes the place of the one that is quiet
    /// longest.
    static constexpr int mostRemembered = 20000;

    /// Then neither the right password nor a wrong one is looked at.
    bool isBlocked(const QString& name, const QString& address, qint64 now);
    void noteRefusal(const QString& name, const QString& address, qint64 now);

    /// Whoever has one IPv6 address has 2^64 of them.
    static QString network(const QString& address);

private:
    int recent(const QString& key, qint64 now);
    void note(const QString& key, qint64 now);

    QHash<QString, QList<qint64>> m_refusals; // oldest first
};

/// So many calls at once, and so many a second.
class CallLimit
{
public:
    static constexpr int mostRemembered = 20000;

    CallLimit(int burst, int perSecond)
        : m_burst(burst)
        , m_perSecond(perSecond)
    {
    }

    bool take(const QString& key, qint64 now);

private:
    struct Bucket
    {
        double left;
        qint64 at;
    };

    int m_burst;
    int m_perSecond;
    QHash<QString, Bucket> m_buckets;
};
