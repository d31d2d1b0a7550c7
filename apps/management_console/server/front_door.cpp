#include "server/front_door.h"

FrontDoor::FrontDoor(QObject* parent)
    : CTlsDoor(parent)
{
    connect(this, &CTlsDoor::requested, this, &FrontDoor::respond);
}

void FrontDoor::respond(QSslSocket* socket, const Request& request)
{
    const bool known = request.method == "GET" || request.method == "HEAD";
    Response response{"405 Method Not Allowed", "text/plain", "only GET\n"};
    if (known)
        response = m_responder ? m_responder(request.path) : Response{"404 Not Found", "text/plain", "nothing here\n"};
    const bool last = request.last || !known;
    QByteArray bytes = "HTTP/1.1 " + response.status + "\r\nContent-Type: " + response.contentType
                       + "\r\nContent-Length: " + QByteArray::number(response.body.size())
                       + (last ? "\r\nConnection: close" : "") + "\r\n\r\n";
    if (request.method != "HEAD")
        bytes += response.body;
    answer(socket, bytes, last);
}
