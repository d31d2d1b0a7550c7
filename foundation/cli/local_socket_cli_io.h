#pragma once

#include <foundation/cli/abstract_cli_io.h>
#include <foundation/core/export.h>

#include <QtCore/QPointer>

class AcceptGuard;
class QLocalServer;
class QLocalSocket;

/// A named local socket as a channel: another process of the same user drives this one, for example a service without a
/// console.
///
/// What one read of a client's socket yields is one line, line feeds inside it included; answers go to the client that
/// sent last. All text is in the local 8-bit encoding. Input arrives whenever a client sends: readLine() does nothing.
/// A name without a path stands in the directory for temporary files.
class KYR_FOUNDATION_EXPORT CLocalSocketCliIO : public CAbstractCliIO
{
    Q_OBJECT

public:
    explicit CLocalSocketCliIO(const QString& serverName);
    ~CLocalSocketCliIO() override;

    /// Sent at once, as far as the client takes it. Dropped while no client has sent anything, or when the client that
    /// sent last has gone.
    void writeLine(const QString& line) override;
    /// The same as writeLine().
    void writeErrorLine(const QString& line) override;
    void flushStandardOutput() override;
    void readLine() override;
    /// Listens under the name, in place of whoever held it; a failure is logged. Called again it opens anew.
    void start() override;
    /// Takes no more clients and no more lines; those clients that are connected stay. Waits until they have taken what
    /// was written, 2 s at most: nothing that was written before is lost when the program ends behind this.
    void stop() override;

private Q_SLOTS:
    void onNewConnection();
    void onReadyRead();
    void onDisconnected();

private:
    QPointer<QLocalSocket> m_socket;
    QLocalServer* m_server;
    AcceptGuard* m_guard;
    QString m_serverName;
    bool m_stopped = false;
};
