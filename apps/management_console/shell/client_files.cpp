#include "shell/client_files.h"

#include "common/command_server.h"

#include <QtCore/QTemporaryFile>

ClientFiles::ClientFiles(CommandClient& client)
    : m_client(client)
{
    connect(&client, &CommandClient::fileMessageReceived, this, &ClientFiles::onMessage);
    connect(&client, &CommandClient::sentSome, this, &ClientFiles::sendMore);
}

ClientFiles::~ClientFiles() = default;

int ClientFiles::begin(Transfer transfer, QObject* receiver)
{
    const QString fault =
        m_client.hasFiles()
            ? QString()
            : QStringLiteral("\"%1\" is a file, and this client cannot open files: use kyr_console").arg(transfer.name);
    if (!fault.isEmpty()) {
        transfer.read ? transfer.read({}, fault) : transfer.written(fault);
        return 0;
    }
    const int id = ++m_lastId;
    m_transfers.insert(id, std::move(transfer));
    connect(receiver, &QObject::destroyed, this, [this, id] { drop(id); });
    return id;
}

void ClientFiles::read(const QString& name, qint64 most, QObject* receiver, const Read& then)
{
    Transfer transfer;
    transfer.name = name;
    transfer.most = most;
    transfer.read = then;
    const int id = begin(transfer, receiver);
    if (id != 0)
        m_client.sendMessage("read", {id, name, double(most)});
}

void ClientFiles::write(const QString& name, OutputFile::Mode mode, const Content& content, QObject* receiver,
                        const Written& then)
{
    // What is written may be larger than what a client reads at once: it waits in a file that nobody else sees.
    Transfer transfer;
    transfer.name = name;
    transfer.written = then;
    transfer.toSend = std::make_shared<QTemporaryFile>();
    const std::shared_ptr<QTemporaryFile> file = transfer.toSend;
    if (!file->open())
        return then(QStringLiteral("cannot buffer \"%1\": %2").arg(name, file->errorString()));
    QString error = content(*file);
    if (error.isEmpty() && (file->error() != QFileDevice::NoError || !file->flush() || !file->seek(0)))
        error = QStringLiteral("cannot buffer \"%1\": %2").arg(name, file->errorString());
    if (!error.isEmpty())
        return then(error);
    const int id = begin(transfer, receiver);
    if (id == 0)
        return;
    m_client.sendMessage("write", {id, name, mode == OutputFile::Mode::New});
    sendMore();
}

void ClientFiles::sendMore()
{
    const QList<int> ids = m_transfers.keys();
    for (const int id : ids) {
        Transfer& transfer = m_transfers[id];
        while (transfer.toSend && m_client.unread() < CommandProtocol::mostAhead) {
            const QByteArray piece = transfer.toSend->read(CommandProtocol::pieceSize);
            if (!piece.isEmpty()) {
                m_client.sendMessage("data", {id, QString::fromLatin1(piece.toBase64())});
                continue;
            }
            transfer.toSend.reset();
            m_client.sendMessage("done", {id});
        }
    }
}

void ClientFiles::onMessage(const QJsonArray& message)
{
    const int id = message.at(1).toInt();
    const auto transfer = m_transfers.find(id);
    if (transfer == m_transfers.end())
        return; // given up in the meantime
    const QString kind = CommandProtocol::kindOf(message);
    if (kind == QLatin1String("done"))
        return conclude(id, QString());
    if (kind == QLatin1String("fault")) {
        const QString text = message.at(2).toString();
        return conclude(id, text.isEmpty() ? QStringLiteral("the client could not open it") : text);
    }
    transfer->received += QByteArray::fromBase64(message.at(2).toString().toLatin1());
    if (transfer->received.size() > transfer->most)
        conclude(id, tooLarge(transfer->name, transfer->most));
}

void ClientFiles::conclude(int id, const QString& error)
{
    const Transfer transfer = m_transfers.take(id);
    if (transfer.read)
        transfer.read(error.isEmpty() ? transfer.received : QByteArray(), error);
    else
        transfer.written(error);
}

void ClientFiles::drop(int id)
{
    if (m_transfers.remove(id) > 0)
        m_client.sendMessage("fault", {id, QStringLiteral("the command has ended")});
}
