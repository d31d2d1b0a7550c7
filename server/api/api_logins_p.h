#pragma once

#include <server/api/api_call_p.h>
#include <server/api/login_limits_p.h>
#include <server/api/refusal_trail_p.h>
#include <server/model/password_hash.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QThreadPool>

class CAuditTrail;
class CSqlAccessControl;

/// Log-ins: who may try, whose password is right, and what the trail hears of it.
class ApiLogins : public QObject
{
    Q_OBJECT

public:
    /// Each look at a password takes 32 MiB and a tenth of a second, of a processor that doors wait for, too.
    static constexpr int workers = 2;
    static constexpr int mostQueued = 32;
    /// Refused ones that stand in the trail one by one, within a minute.
    static constexpr int mostTold = 600;

    ApiLogins(CSqlAccessControl* model, CAuditTrail* trail, QObject* parent);
    ~ApiLogins() override;

    /// After a caller was given a session.
    std::function<void(const CApiCaller& caller)> admitted;

    void setClock(const std::function<qint64()>& clock) { m_clock = clock; }

    /// Answers the call, and gives its caller a session.
    void login(const std::shared_ptr<ApiCall>& call, const QString& name, const QString& password, const QString& code);

private:
    struct Attempt
    {
        std::shared_ptr<ApiCall> call;
        QString name;
        QString password;
        QString code;
        QString network{};
        CPasswordHash hash{};
    };

    /// Which one is looked at next. Of one name from one network that is one after the other: each may be the tenth
    /// wrong one. Networks of which none is looked at go first. -1: none.
    int nextOne() const;
    /// Whoever has most in a queue that is full gives way to others. False when that is the network itself.
    bool makeRoom(const QString& network);

    void startNext();
    void finish(const Attempt& attempt, bool isRight);
    void admit(const Attempt& attempt);
    void refuse(const Attempt& attempt, bool isKnown, const QString& reason);
    bool isBlocked(const Attempt& attempt);

    CSqlAccessControl* m_model;
    CAuditTrail* m_trail;
    std::function<qint64()> m_clock;
    LoginLimits m_limits;
    RefusalTrail m_refusals;
    QThreadPool m_pool;
    QList<Attempt> m_queue; // the longest-waiting first
    QList<Attempt> m_running;
};
