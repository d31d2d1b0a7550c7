#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

class CDatabase;

/// Something to be told at the broker: a notification's data, or a line as it is.
struct BridgeNews
{
    QString source;
    /// Below the server's own place.
    QStringList topics;
    QVariantMap data;
    QByteArray line{};
};

/// What has happened in an installation and was not told at the broker yet: changes of the model, events of doors, and
/// signed heads of the trail. How far each stream was taken up stands in the database, too. The caller holds a
/// transaction around all of it.
///
/// A server tells its own changes and the events of its own chain; the publisher also those of servers and consoles
/// that have no bridge.
class BridgeIntake
{
public:
    /// Rows of one stream that are taken up at once.
    static constexpr int rowsPerStep = 200;

    BridgeIntake(CDatabase* database, const QString& server)
        : m_database(database)
        , m_server(server)
    {
    }

    /// Of a server that had no bridge: what happened before is history, or was told by others.
    bool begin();

    /// Whether take() would find any. Asked before a transaction is begun: of all servers that a change wakes one
    /// mostly tells it, and each of the others would keep the next writers waiting for nothing.
    bool hasNews(bool isPublisher);

    enum Result
    {
        Failed, ///< nothing may be stored
        Done,
        More ///< rows are left
    };
    /// Adds the news in their order, and moves on behind them.
    Result take(bool isPublisher, QVector<BridgeNews>* news);

private:
    Result takeChanges(bool isPublisher, QVector<BridgeNews>* news);
    Result takeChains(bool isPublisher, QVector<BridgeNews>* news);
    Result takeEvents(qint64 chain, QVector<BridgeNews>* news);
    Result takeHeads(qint64 chain, QVector<BridgeNews>* news);
    qint64 lastChange();
    qint64 firstChange();
    bool isKnown(const QString& stream);
    qint64 position(const QString& stream);
    bool setPosition(const QString& stream, qint64 position);

    CDatabase* m_database;
    QString m_server;
};
