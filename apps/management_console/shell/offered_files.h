#pragma once

#include "shell/local_files.h"

#include <QtCore/QJsonArray>
#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <memory>

class QLocalSocket;

/// What a client lets the program behind a socket read and write: the files that its command names, no others.
class OfferedFiles : public QObject
{
    Q_OBJECT

public:
    /// The socket outlives it.
    OfferedFiles(QLocalSocket& socket, LocalFiles::StandardInput input);

    /// The words of the command that is sent now. What an earlier one has left is forgotten.
    void setCommand(const QStringList& words);
    /// A message that asks for a file or is part of one; false when it is none.
    bool take(const QJsonArray& message);

private:
    struct Outgoing
    {
        QByteArray bytes;
        int sent = 0;
    };

    void startReading(int id, const QString& name, qint64 most);
    void startWriting(int id, const QString& name, bool isNew);
    void finishWriting(int id);
    void sendMore();
    void send(const char* kind, const QJsonArray& arguments);

    QLocalSocket& m_socket;
    LocalFiles m_files;
    QStringList m_words;
    std::unique_ptr<QObject> m_command; // what reads for the command ends with it
    QMap<int, Outgoing> m_outgoing;
    QMap<int, std::shared_ptr<OutputFile>> m_incoming;
};
