#pragma once

#include <foundation/core/export.h>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtNetwork/QNetworkProxy>

class QTcpSocket;
class QUrl;

/// Asks a web server where a URL leads: one GET request, of whose answer only the head is read.
///
/// Not a job for the network access manager: its thread goes on reading what a server sends after a request has been
/// aborted, and keeps all header lines, however many come. Here nothing outlives the probe, and a head above 16 KiB is
/// no answer.
class KYR_FOUNDATION_TEST_EXPORT RedirectProbe : public QObject
{
    Q_OBJECT

public:
    /// A server's certificate is not looked at: whoever answers is only asked for a direction.
    RedirectProbe(const QUrl& url, const QNetworkProxy& proxy, QObject* parent);
    ~RedirectProbe() override;

Q_SIGNALS:
    /// The value of the answer's "Location" when its status was 300 to 399; null otherwise, also when there was no
    /// answer in time. Emitted once, from the event loop.
    void finished(const QString& location);

private:
    void sendRequest();
    void readHead();
    bool takeLine(const QByteArray& line);
    void finish();

    QTcpSocket* m_socket;
    QByteArray m_request;
    qint64 m_read = 0;
    int m_status = 0; // of the answer that is being read; 0 before its first line
    QString m_location;
    bool m_complete = false;
    bool m_finished = false;
};
