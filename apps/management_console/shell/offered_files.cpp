#include "shell/offered_files.h"

#include "common/command_protocol.h"

#include <QtNetwork/QLocalSocket>

OfferedFiles::OfferedFiles(QLocalSocket& socket, LocalFiles::StandardInput input)
    : m_socket(socket)
    , m_files(input)
{
    connect(&socket, &QLocalSocket::bytesWritten, this, &OfferedFiles::sendMore);
}

void OfferedFiles::setCommand(const QStringList& words)
{
    m_words = words;
    m_command = std::make_unique<QObject>();
    m_outgoing.clear();
    m_incoming.clear();
}

void OfferedFiles::send(const char* kind, const QJsonArray& arguments)
{
    m_socket.write(CommandProtocol::message(kind, arguments));
}

bool OfferedFiles::take(const QJsonArray& message)
{
    const QString kind = CommandProtocol::kindOf(message);
    const int id = message.at(1).toInt();
    const QString text = message.at(2).toString();
    const bool isRead = kind == QLatin1String("read");
    if (isRead || kind == QLatin1String("write")) {
        if (!m_command || !CommandProtocol::isNamedIn(m_words, text))
            send("fault",
                 {id, QStringLiteral("the command does not name \"%1\": the client does not open it").arg(text)});
        else if (isRead)
            startReading(id, text, qint64(message.at(3).toDouble()));
        else
            startWriting(id, text, message.at(3).toBool());
        return true;
    }
    if (kind == QLatin1String("data")) {
        if (const auto file = m_incoming.value(id))
            file->device().write(QByteArray::fromBase64(text.toLatin1()));
        return true;
    }
    if (kind == QLatin1String("done")) {
        finishWriting(id);
        return true;
    }
    if (kind == QLatin1String("fault")) {
        m_incoming.remove(id);
        m_outgoing.remove(id);
        return true;
    }
    return false;
}

void OfferedFiles::startReading(int id, const QString& name, qint64 most)
{
    m_files.read(name, most, m_command.get(), [this, id](const QByteArray& bytes, const QString& error) {
        if (!error.isEmpty())
            return send("fault", {id, error});
        m_outgoing.insert(id, {bytes, 0});
        sendMore();
    });
}

void OfferedFiles::sendMore()
{
    while (!m_outgoing.isEmpty() && m_socket.bytesToWrite() < CommandProtocol::mostAhead) {
        const int id = m_outgoing.firstKey();
        Outgoing& outgoing = m_outgoing.first();
        const QByteArray piece = outgoing.bytes.mid(outgoing.sent, CommandProtocol::pieceSize);
        outgoing.sent += int(piece.size());
        if (!piece.isEmpty())
            send("data", {id, QString::fromLatin1(piece.toBase64())});
        // write() may have called back.
        if (m_outgoing.contains(id) && m_outgoing[id].sent >= m_outgoing[id].bytes.size()) {
            m_outgoing.remove(id);
            send("done", {id});
        }
    }
}

void OfferedFiles::startWriting(int id, const QString& name, bool isNew)
{
    auto file = std::make_shared<OutputFile>(name, isNew ? OutputFile::Mode::New : OutputFile::Mode::Replace);
    QString error;
    if (file->open(error))
        m_incoming.insert(id, file);
    else
        send("fault", {id, error});
}

void OfferedFiles::finishWriting(int id)
{
    const std::shared_ptr<OutputFile> file = m_incoming.take(id);
    if (!file)
        return;
    QString error;
    if (file->commit(error))
        send("done", {id});
    else
        send("fault", {id, error});
}
