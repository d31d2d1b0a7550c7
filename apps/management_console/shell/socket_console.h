#pragma once

#include "common/command_server.h"
#include "shell/client_files.h"
#include "shell/command_runner.h"
#include "shell/local_files.h"
#include "shell/output.h"

#include <QtCore/QStringList>

#include <deque>

/// The conversation with one client: its commands run one after the other, beside those of other clients, and what they
/// say goes to it alone. When the client goes its command ends.
class ClientDialogue : public QObject, private Output
{
    Q_OBJECT

public:
    ClientDialogue(Session& session, CommandClient& client, QObject* parent);

    bool isRunning() const { return m_runner.isRunning(); }
    /// Ends the command that runs; those that wait are dropped.
    void cancelAll();

Q_SIGNALS:
    /// No command runs and none waits.
    void idle();

private:
    void line(const QString& text) override { m_client.sendLine(text); }
    void error(const QString& text) override;
    void progress(const QString& text) override { m_client.sendProgress(text); }
    bool colour() const override { return m_client.wantsColour(); }
    Files& files() override { return m_files; }
    CommandClient* scriptClient() override { return m_client.runsScripts() ? &m_client : nullptr; }
    QString user() const override { return m_client.user().name; }
    int columns() const override { return m_client.columns(); }
    int rows() const override { return m_client.rows(); }
    void page(const QStringList& texts) override;
    void redraw(const QStringList& texts) override;

    void add(const QStringList& words);
    void runNext();
    void forgetWaiting();

    CommandClient& m_client;
    ClientFiles m_files; // before what uses it
    CommandRunner m_runner;
    std::deque<QStringList> m_waiting;
    int m_waitingSize = 0; // characters in those
    bool m_leaving = false;
};

/// The console without a terminal: takes commands from the clients of a local socket. What the command says that it was
/// started with, and news, go to the program's own output.
class SocketConsole : public QObject, private Output
{
    Q_OBJECT

public:
    explicit SocketConsole(Session& session, QObject* parent = nullptr);
    ~SocketConsole() override;

    /// False with a reason.
    bool listen(const QString& name, QString& error) { return m_server.listen(name, error); }
    /// Runs the command that the console was started with, if any; when it fails the program ends with its code.
    void begin(const QStringList& words);
    /// Ends all commands, and the program when each client has been told.
    void end();

private:
    void line(const QString& text) override;
    void error(const QString& text) override;
    void progress(const QString& text) override { Q_UNUSED(text) }
    bool colour() const override { return false; }
    Files& files() override { return m_files; }

    void onClient(CommandClient* client);
    void showNews(const QString& text);
    void endWhenIdle();

    Session& m_session;
    LocalFiles m_files{LocalFiles::StandardInput::Commands};
    CommandServer m_server;
    CommandRunner m_first;
    QList<ClientDialogue*> m_dialogues;
    int m_code = 0;
    bool m_ending = false;
    bool m_draining = false;
};
