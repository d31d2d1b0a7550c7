#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QPair>
#include <QtNetwork/QHostAddress>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>

#include <memory>

class QSslConfiguration;

/// A TLS port that no visitor can block: accepts connections, brings up TLS, looks at the HTTP request and gives the
/// connection to whom it is for, with the request unread.
///
///     CTlsDoor door;
///     if (!door.setCertificate(certificateFile, keyFile, error) || !door.open(443))
///         ...
///     connect(&door, &CTlsDoor::webSocketRequested, &connector, [&](QSslSocket* socket) {
///         socket->setParent(&connector); // takes it over
///         connector.handleWebSocketRequest(socket, CTlsDoor::peerText(socket));
///     });
///
/// A visitor has 13 s to say something. Then comes its turn: at once, unless 256 others have begun with TLS within the
/// last two seconds and are not through. From its turn, or from the last answer, to the end of the request it has 10 s
/// again. Turns go round by the networks of the visitors, so that a crowd of one makes others wait for one turn only.
/// At most 512 silent visitors are there, beside those of the last three seconds, and 512 of the others: one more takes
/// the place of the one that has waited longest. The head of a request has 8 KiB at most, its body what
/// setLongestBody() allows; of those whose body is still on its way there are at most 64.
class KYR_FOUNDATION_EXPORT CTlsDoor : public QTcpServer
{
    Q_OBJECT

public:
    /// A request, as it stands in the socket.
    struct Request
    {
        QByteArray method;
        QByteArray path;          ///< with its query
        QByteArray head;          ///< all its lines, without the empty one at the end
        QByteArray body;          ///< empty without one, and when it was not read
        bool bodyUnread = false;  ///< it is too long, or its length is not told beforehand
        bool webSocket = false;   ///< asks to become a WebSocket
        bool last = false;        ///< the connection is to end with the answer, as no further request could be read
        QElapsedTimer accepted{}; ///< runs since the connection was accepted

        /// The value of a header line, blanks around it removed; null without one. The case of `name` is of no account.
        QByteArray header(const QByteArray& name) const;
    };

    explicit CTlsDoor(QObject* parent = nullptr);
    ~CTlsDoor() override;

    /// Certificate chain and key from PEM files, for connections from now on. When one of them cannot be used, or they
    /// do not belong together, false with a reason; then those before stay.
    bool setCertificate(const QString& certificateFile, const QString& keyFile, QString& error);
    /// For what setCertificate does not do. It asks visitors for no certificates, and offers TLS 1.3 and 1.2 with
    /// forward secrecy by elliptic curves.
    void setSslConfiguration(const QSslConfiguration& configuration);
    /// Whether certificates that are set from now on go with Diffie-Hellman over finite fields, too: for visitors that
    /// know no elliptic curves. Each handshake costs a quarter more then, theirs or not. Off.
    void setFiniteFieldDh(bool allowed);

    /// A door behind a TLS balancer. It takes connections from these networks only, plain ones that begin with the
    /// header of the PROXY protocol, version 2, within 5 s. The peer address of a socket is the one announced there.
    /// For connections from now on.
    void setProxies(const QList<QPair<QHostAddress, int>>& networks);

    /// Reads bodies of up to so many bytes, 1 MiB at most. By default none is read.
    void setLongestBody(int bytes);

    /// Listens on all addresses; with port 0 the system chooses. False: see errorString().
    bool open(quint16 port);

    /// Visitors that have not handed in a request yet, those that may hand in another one included.
    int visitors() const;

    /// Answers an ordinary request of a visitor. Without `last` it may hand in another one; with it the connection ends
    /// as soon as the answer was taken. Does nothing for a socket that is not waiting for an answer.
    void answer(QSslSocket* socket, const QByteArray& bytes, bool last);

    /// Address and port of the other end, for people: "192.0.2.7:50123".
    static QString peerText(const QAbstractSocket* socket);
    static QString peerText(const QHostAddress& address, quint16 port);

Q_SIGNALS:
    /// A receiver takes the socket over by setting another parent, else it is aborted.
    void webSocketRequested(QSslSocket* socket, const CTlsDoor::Request& request);
    /// Any other request: to be answered within 60 s, or the connection ends. A receiver may take the socket over, too.
    void requested(QSslSocket* socket, const CTlsDoor::Request& request);
    /// A connection ended before it was anybody's. The reason is fit to be shown. Emitted from the event loop.
    void dropped(const QString& peer, const QString& reason);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void pauseForDescriptors();
    void start(qintptr descriptor, const QElapsedTimer& accepted);
    void report(const QString& peer, const QString& reason);
    void release(QSslSocket* socket);
    bool takeProxyHeader(QSslSocket* socket);
    void onReadable(QSslSocket* socket);
    bool awaitsBody(QSslSocket* socket);
    void readBody(QSslSocket* socket);
    void handIn(QSslSocket* socket);
    void drop(QSslSocket* socket, const QString& reason);

    struct Private;
    std::unique_ptr<Private> d;
};

Q_DECLARE_METATYPE(CTlsDoor::Request)
