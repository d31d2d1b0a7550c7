#pragma once

#include <foundation/network/device_handshake_p.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QTimer>

class QSslSocket;
class QWebSocket;
class QWebSocketServer;

/// Where devices that call in are received. So many handshakes go on at a time; further devices wait for a place, as
/// long as places become free, and are turned away otherwise. Each device is heard of once, admitted or refused.
class DeviceReception : public QObject
{
    Q_OBJECT

public:
    DeviceReception(bool verifyCertificates, QObject* parent);
    ~DeviceReception() override;

    /// Takes over a socket with a device's request. Devices of other installations than `ownSystem` are refused.
    /// `text` comes back with the outcome.
    void receive(QSslSocket* socket, const QString& text, CSystemId ownSystem);
    /// Takes the WebSockets that the server has made.
    void takeWebSockets();

Q_SIGNALS:
    /// The device has proved who it is and has been told so. A receiver takes the WebSocket over by setting another
    /// parent; when none does, it is dropped. A receiver may delete it, or this.
    void admitted(const DeviceIdentity& device, QWebSocket* webSocket, const QString& text);
    /// `claimed` is who it said it is, invalid when its request could not be read.
    void refused(const CDeviceId& claimed, const QString& text, const QString& reason);

private:
    int places() const;
    void goOn(DeviceHandshake* handshake);
    void fillPlaces();
    void turnWaitingAway();
    void forget(DeviceHandshake* handshake);
    void onFailed(DeviceHandshake* handshake, const QString& reason);
    void onProved(DeviceHandshake* handshake);

    bool m_verifyCertificates;
    QWebSocketServer* m_server;
    QHash<DeviceHandshake::Key, DeviceHandshake*> m_handshakes;
    QList<DeviceHandshake*> m_waiting; // those of m_handshakes that wait for a place
    QTimer m_patience;                 // runs while there are any, and begins anew when a place became free
};
