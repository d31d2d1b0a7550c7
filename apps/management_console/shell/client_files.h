#pragma once

#include "shell/files.h"

#include <QtCore/QJsonArray>
#include <QtCore/QMap>
#include <QtCore/QPointer>

#include <memory>

class CommandClient;
class QTemporaryFile;

/// The files of a client: it is asked for their content, and given what it is to write.
class ClientFiles : public QObject, public Files
{
    Q_OBJECT

public:
    /// The client outlives it.
    explicit ClientFiles(CommandClient& client);
    ~ClientFiles() override;

    bool areHere() const override { return false; }
    void read(const QString& name, qint64 most, QObject* receiver, const Read& then) override;
    void write(const QString& name, OutputFile::Mode mode, const Content& content, QObject* receiver,
               const Written& then) override;

private:
    struct Transfer
    {
        QString name;
        qint64 most = 0;
        Read read;       // when it is read
        Written written; // when it is written
        QByteArray received;
        std::shared_ptr<QTemporaryFile> toSend; // null when all was sent
    };

    /// 0 when the client has no files.
    int begin(Transfer transfer, QObject* receiver);
    void onMessage(const QJsonArray& message);
    void conclude(int id, const QString& error);
    void sendMore();
    void drop(int id);

    CommandClient& m_client;
    QMap<int, Transfer> m_transfers;
    int m_lastId = 0;
};
