#pragma once

#include <foundation/network/tls_door.h>

#include <functional>

/// The TLS port of the console: WebSockets go to whom they are for, ordinary requests are answered here.
class FrontDoor : public CTlsDoor
{
    Q_OBJECT

public:
    /// The answer to an ordinary request: a status line such as "200 OK", a content type and a body.
    struct Response
    {
        QByteArray status;
        QByteArray contentType;
        QByteArray body;
    };

    explicit FrontDoor(QObject* parent = nullptr);

    /// What to answer to a GET request of a path.
    void setResponder(std::function<Response(const QByteArray& path)> responder) { m_responder = std::move(responder); }

private:
    void respond(QSslSocket* socket, const Request& request);

    std::function<Response(const QByteArray&)> m_responder;
};
