#include "shell/socket_console.h"

#include "shell/command_words.h"
#include "shell/completion.h"
#include "shell/terminal.h"

#include <QtCore/QCoreApplication>

#include <numeric>

namespace {

// So many characters of commands may wait for the one that runs; then the client waits, too.
constexpr int mostWaiting = CommandProtocol::longestMessage;
constexpr int wordOverhead = 32; // bytes that a word takes beside its characters

int sizeOf(const QStringList& words)
{
    return std::accumulate(words.begin(), words.end(), wordOverhead,
                           [](int size, const QString& word) { return size + int(word.size()) + wordOverhead; });
}

} // namespace

ClientDialogue::ClientDialogue(Session& session, CommandClient& client, QObject* parent)
    : QObject(parent)
    , m_client(client)
    , m_files(client)
    , m_runner(session, *this, this)
{
    connect(&client, &CommandClient::commandReceived, this, &ClientDialogue::add);
    connect(&client, &CommandClient::lineReceived, this, [this](const QString& line) { add(commandWords(line)); });
    connect(&client, &CommandClient::cancelRequested, &m_runner, &CommandRunner::cancel);
    connect(&client, &CommandClient::inputReceived, &m_runner, &CommandRunner::giveInput);
    connect(&client, &CommandClient::inputEnded, &m_runner, &CommandRunner::giveInputEnd);
    connect(&m_runner, &CommandRunner::inputWanted, this, [this] {
        if (m_client.canGiveInput())
            m_client.askForInput();
        else
            QMetaObject::invokeMethod(&m_runner, &CommandRunner::giveInputEnd, Qt::QueuedConnection);
    });
    connect(&m_runner, &CommandRunner::passwordWanted, this, [this](const QString& question) {
        if (m_client.canGiveInput())
            m_client.askForPassword(question);
        else
            QMetaObject::invokeMethod(&m_runner, &CommandRunner::giveInputEnd, Qt::QueuedConnection);
    });
    connect(&client, &CommandClient::completionRequested, this, [this, &session](const QString& text) {
        const Completion found = completionOf(session, text);
        m_client.sendCompletions(text, found.files, found.filePrefix, found.words);
    });
    connect(&m_runner, &CommandRunner::leaveWanted, this, [this] { m_leaving = true; });
    connect(&m_runner, &CommandRunner::finished, this, [this](int code) {
        if (m_leaving) {
            forgetWaiting();
            m_client.leave(code);
        } else {
            m_client.sendCode(code);
        }
        runNext();
    });
}

void ClientDialogue::error(const QString& text)
{
    m_client.sendError(Terminal::printable(text));
}

void ClientDialogue::page(const QStringList& texts)
{
    if (rows() > 0)
        m_client.sendPage(texts);
    else
        lines(texts);
}

void ClientDialogue::redraw(const QStringList& texts)
{
    if (rows() > 0)
        m_client.sendRedraw(texts);
    else
        lines(texts);
}

void ClientDialogue::add(const QStringList& words)
{
    m_waiting.push_back(words);
    m_waitingSize += sizeOf(words);
    m_client.setPaused(m_waitingSize > mostWaiting);
    if (!m_runner.isRunning())
        runNext();
}

void ClientDialogue::runNext()
{
    while (!m_runner.isRunning() && !m_waiting.empty()) {
        const QStringList words = m_waiting.front();
        m_waiting.pop_front();
        m_waitingSize -= sizeOf(words);
        m_client.setPaused(m_waitingSize > mostWaiting);
        if (words.isEmpty())
            m_client.sendCode(0); // a blank line, a remark
        else
            m_runner.run(words);
    }
    if (!m_runner.isRunning())
        Q_EMIT idle();
}

void ClientDialogue::forgetWaiting()
{
    m_waiting.clear();
    m_waitingSize = 0;
}

void ClientDialogue::cancelAll()
{
    forgetWaiting();
    m_runner.cancel();
}

SocketConsole::SocketConsole(Session& session, QObject* parent)
    : QObject(parent)
    , m_session(session)
    , m_first(session, *this, this)
{
    connect(&m_server, &CommandServer::clientCame, this, &SocketConsole::onClient);
    connect(&session, &Session::news, this, &SocketConsole::showNews);
    connect(&session, &Session::shutdownWanted, this, &SocketConsole::end);
    // Nobody is there to be asked.
    connect(&m_first, &CommandRunner::inputWanted, &m_first, &CommandRunner::giveInputEnd, Qt::QueuedConnection);
    connect(&m_first, &CommandRunner::passwordWanted, &m_first, &CommandRunner::giveInputEnd, Qt::QueuedConnection);
    connect(&m_first, &CommandRunner::leaveWanted, this, &SocketConsole::end);
    connect(&m_first, &CommandRunner::finished, this, [this](int code) {
        m_code = code;
        if (code != 0)
            end();
        else
            endWhenIdle();
    });
}

SocketConsole::~SocketConsole()
{
    qDeleteAll(m_dialogues); // they speak to the server's clients
}

void SocketConsole::begin(const QStringList& words)
{
    if (!words.isEmpty())
        m_first.run(words);
}

void SocketConsole::end()
{
    if (m_ending)
        return;
    m_ending = true;
    m_first.cancel();
    for (ClientDialogue* dialogue : qAsConst(m_dialogues))
        dialogue->cancelAll();
    endWhenIdle();
}

void SocketConsole::endWhenIdle()
{
    if (!m_ending || m_draining || m_first.isRunning())
        return;
    for (const ClientDialogue* dialogue : qAsConst(m_dialogues)) {
        if (dialogue->isRunning())
            return;
    }
    m_draining = true;
    m_server.drain([this] { QCoreApplication::exit(m_code); });
}

void SocketConsole::onClient(CommandClient* client)
{
    auto* dialogue = new ClientDialogue(m_session, *client, this);
    m_dialogues.append(dialogue);
    connect(dialogue, &ClientDialogue::idle, this, &SocketConsole::endWhenIdle);
    connect(client, &CommandClient::gone, dialogue, [this, dialogue, client] {
        client->disconnect(dialogue);
        dialogue->cancelAll();
        m_dialogues.removeOne(dialogue);
        delete dialogue; // its client goes after this
        endWhenIdle();
    });
}

void SocketConsole::line(const QString& text)
{
    Terminal::show(text + QLatin1Char('\n'));
}

void SocketConsole::error(const QString& text)
{
    Terminal::showError(Terminal::printable(text) + QLatin1Char('\n'));
}

void SocketConsole::showNews(const QString& text)
{
    line(text);
    const QList<CommandClient*> clients = m_server.clients();
    for (CommandClient* client : clients)
        client->sendNews(text);
}
