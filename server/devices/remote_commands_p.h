#pragma once

#include <server/devices/remote_devices.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>

/// Commands for devices that another server holds, as rows that all servers share: one asks, the one that holds the
/// link takes each once and stores the answer. Those that were not taken in time are not done any more.
class RemoteCommands
{
public:
    using Answer = CRemoteDevices::Answer;

    /// What another server wants of a device that is linked here.
    struct Order
    {
        qint64 id;
        CDeviceId device;
        QString kind;
        QString operatorName;
        QJsonObject body;
    };

    /// `holder` is this process in the tables. Answers come by the event loop of `context`. The database outlives it.
    RemoteCommands(CDatabase* database, const QString& holder, QObject* context);

    /// Not within somebody's transaction, and not for making a database.
    bool isDatabaseFree() const;

    // --- Asking

    /// False when the database did not take it: then the answer says so.
    bool ask(CDeviceId device, const QString& kind, const QJsonObject& body, const QString& operatorName,
             const Answer& answer);
    bool isAsking() const { return !m_asked.isEmpty(); }
    /// Passes on the answers that are there, and answers whoever has waited for too long.
    void takeAnswers();

    // --- Answering

    /// What is to be done here now; nobody else is given it. Nothing when the database is busy: then *isBusy.
    QList<Order> take(bool* isBusy);
    /// What became of an order; stored when the database is free.
    void finish(qint64 id, const QString& error, const QJsonObject& result);
    void storeAnswers();
    bool hasUnstored() const { return !m_unstored.isEmpty(); }

    /// Within a transaction of the caller: marks the commands for devices of this server that came too late, in
    /// *expired how many, and removes old ones.
    bool expire(int* expired);
    void noteExpired(int commands) { m_expired += commands; }

    qint64 expired() const { return m_expired; }
    qint64 repeated() const { return m_repeated; }

private:
    struct Asked
    {
        CDeviceId device;
        Answer answer;
        QElapsedTimer age;
    };
    struct Result
    {
        QString error;
        QJsonObject result;
    };

    QString isLate() const;
    void giveUp();
    void reply(const Answer& answer, const QString& error, const QJsonObject& result = {});

    CDatabase* m_database;
    QString m_holder;
    QObject* m_context;
    QMap<qint64, Asked> m_asked;
    QMap<qint64, Result> m_unstored;
    qint64 m_expired = 0;
    qint64 m_repeated = 0;
};
