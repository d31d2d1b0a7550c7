#pragma once

#include "command_protocol.h"
#include "peer_user.h"

#include <QtCore/QObject>

#include <functional>

class AcceptGuard;
class QLocalServer;
class QLocalSocket;

/// One client of a tool that takes commands: a conversation of its own. Deletes itself after gone().
///
/// A client that does not speak the protocol sends plain lines (what arrives together counts as complete) and is
/// answered by lines, the last of which is "= N", N being the exit code; lines that begin with "! " are news.
class CommandClient : public QObject
{
    Q_OBJECT

public:
    /// A client that lets more than this stand unread is dropped.
    static constexpr qint64 mostUnread = 0x10000000;
    /// News are for those who read: with more than this unread they are left out.
    static constexpr qint64 mostUnreadForNews = 0x10000;

    /// Takes the socket over.
    CommandClient(QLocalSocket* socket, QObject* parent);
    ~CommandClient() override;

    /// Somebody reads at a terminal.
    bool isTerminal() const { return m_terminal; }
    bool wantsColour() const { return m_colour; }
    /// Of its terminal; 0 when it has none.
    int columns() const { return m_columns; }
    int rows() const { return m_rows; }
    /// A plain client cannot be asked for input.
    bool canGiveInput() const { return !m_plain; }
    /// It opens the files that its commands name.
    bool hasFiles() const { return m_files; }
    /// It runs the scripts that its commands name.
    bool runsScripts() const { return m_scripts; }
    /// Who it is, as the system says.
    const PeerUser& user() const { return m_user; }
    /// Bytes that the client has not taken yet.
    qint64 unread() const;
    /// Takes nothing from the client for a while, who has to wait when it goes on sending.
    void setPaused(bool isPaused);

    void sendLine(const QString& text);
    void sendError(const QString& text);
    void sendProgress(const QString& text);
    void sendNews(const QString& text);
    void askForInput();
    /// A message on a file or a script, see CommandProtocol.
    void sendMessage(const char* kind, const QJsonArray& arguments);
    /// For a line that must not be seen.
    void askForPassword(const QString& question);
    /// Lines that may be more than the screen has. Only where there are rows().
    void sendPage(const QStringList& lines);
    /// Lines in place of the last ones sent so. Only where there are rows().
    void sendRedraw(const QStringList& lines);
    void sendCompletions(const QString& text, bool files, const QString& filePrefix, const QStringList& words);
    void sendCode(int code);
    /// The last code: the conversation ends from this side.
    void leave(int code);

Q_SIGNALS:
    void commandReceived(const QStringList& words);
    /// A command that is still to be split into words.
    void lineReceived(const QString& line);
    void inputReceived(const QString& line);
    void inputEnded();
    void cancelRequested();
    void fileMessageReceived(const QJsonArray& message);
    void scriptMessageReceived(const QJsonArray& message);
    /// Some of what was sent has left; see unread().
    void sentSome();
    /// What may follow a text? sendCompletions() is the answer.
    void completionRequested(const QString& text);
    void gone();

private:
    void onReadable();
    void onGone();
    void take(const QByteArray& line);
    void send(const QByteArray& data);
    void send(const char* kind, const QString& text);

    QLocalSocket* m_socket;
    LineBuffer m_received;
    bool m_known = false; // has sent something
    bool m_plain = true;
    bool m_greeted = false;
    bool m_terminal = false;
    bool m_colour = false;
    bool m_files = false;
    bool m_scripts = false;
    PeerUser m_user;
    int m_columns = 0;
    int m_rows = 0;
    bool m_paused = false;
    bool m_left = false; // nothing is taken any more
    bool m_gone = false;
};

/// A local socket on which a tool takes commands. Only the same user, and root, gets in; when the service manager has
/// made the socket, whom it lets in.
class CommandServer : public QObject
{
    Q_OBJECT

public:
    static constexpr int mostClients = 500;

    explicit CommandServer(QObject* parent = nullptr);
    ~CommandServer() override;

    /// False with a reason when another program answers under that name, which would lose its clients, or when the
    /// system refuses it. What a program that was killed has left behind is replaced. A socket of that name that the
    /// service manager hands over (LISTEN_FDS) is taken as it is.
    bool listen(const QString& name, QString& error);
    QList<CommandClient*> clients() const
    {
        return findChildren<CommandClient*>(QString(), Qt::FindDirectChildrenOnly);
    }
    /// Ends once each client has taken what was sent to it, or after two seconds; `then` is called.
    void drain(const std::function<void()>& then);

Q_SIGNALS:
    void clientCame(CommandClient* client);

private:
    void onConnection();

    QLocalServer* m_server;
    AcceptGuard* m_guard;
};
