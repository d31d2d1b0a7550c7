#pragma once

#include <foundation/core/export.h>
#include <foundation/network/device_identity.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

class QHostAddress;

// What the two ends say until a device that calls in has proved who it is, in this order. Nobody else reads or writes
// these messages.
//
//     DeviceRequest    device:       GET /gw/000.123.457/41/0000.0011 HTTP/1.1
//     ChallengeRequest application:  {"random": "5f1c...", "time": "2026-01-01T12:00:00Z"}
//     ChallengeAnswer  device:       {"certificate": PEM, "challenge": a Challenge, "signature": base64}
//     acceptance       application:  OK

/// The first line of a device's request for a WebSocket.
struct DeviceRequest
{
    QString path;
    DeviceIdentity device;

    /// False unless the line names a device, a known type, and no other system than `ownSystem`.
    KYR_FOUNDATION_TEST_EXPORT static bool parse(const QString& line, CSystemId ownSystem, DeviceRequest& request);
    static QString pathOf(const DeviceIdentity& device);
};

/// The application's question, which differs each time.
struct ChallengeRequest
{
    QVariantMap entries; ///< what a peer put there, as the JSON codec reads it

    static ChallengeRequest fresh();
    /// What a peer sent; false when it is nothing that a device signs: without a random text, or outside the limits
    /// that keep it from having a say in what the device adds.
    KYR_FOUNDATION_TEST_EXPORT static bool parse(const QByteArray& message, ChallengeRequest& request);
    QByteArray toBytes() const;
    QByteArray random() const;
};

/// What a device signs: the entries of the request, and who it is, when, and which server it sees.
struct Challenge
{
    QByteArray deviceLabel;
    QByteArray random;
    QByteArray server; ///< the application's address as the device sees it

    /// The text that `device` signs for the server.
    KYR_FOUNDATION_TEST_EXPORT static QByteArray textFor(const ChallengeRequest& request, CDeviceId device,
                                                         const QHostAddress& server);
    /// Reads the text that was signed, and nothing else: one flat object of texts in quotes without escapes, each key
    /// once, nothing before or behind it. Any other text is refused, for two readers may read it in two ways. What the
    /// object lacks is left empty.
    KYR_FOUNDATION_TEST_EXPORT static bool parse(const QByteArray& text, Challenge& challenge);
};

/// The device's answer.
struct ChallengeAnswer
{
    QByteArray challenge; ///< the text that was signed, UTF-8
    QByteArray certificatePem;
    QByteArray signature;

    /// What is no text is left empty.
    KYR_FOUNDATION_TEST_EXPORT static ChallengeAnswer parse(const QByteArray& message);
    /// Without certificate and signature when the device has none.
    KYR_FOUNDATION_TEST_EXPORT QByteArray toBytes() const;
};

namespace HandshakeMessages {

/// The application's acceptance.
inline QByteArray acceptance()
{
    return QByteArrayLiteral("OK");
}

} // namespace HandshakeMessages
