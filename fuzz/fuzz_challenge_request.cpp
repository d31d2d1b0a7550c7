// What a server asks a device to sign. Any server may ask, and pass the answer on to the real application: what the
// device signs names the server that it sees, whatever the server sent.
#include "fuzz_support.h"

#include <foundation/network/handshake_messages_p.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtNetwork/QHostAddress>

FUZZ_TARGET(challenge_request)
{
    const CDeviceId device(12345);
    const QHostAddress seen(input.flag() ? QStringLiteral("192.0.2.10") : QStringLiteral("2001:db8::10"));
    ChallengeRequest request;
    if (!ChallengeRequest::parse(input.rest(), request))
        return;
    ChallengeAnswer answer;
    answer.challenge = Challenge::textFor(request, device, seen);
    FUZZ_CHECK(answer.challenge.size() < 16 * 1024);

    // As the application reads it,
    Challenge challenge;
    if (Challenge::parse(answer.challenge, challenge)) {
        FUZZ_CHECK(challenge.server == seen.toString().toLatin1());
        FUZZ_CHECK(challenge.deviceLabel == device.toLabel().toLatin1());
    }
    // and as others would.
    QJsonParseError error{};
    const QJsonObject object = QJsonDocument::fromJson(answer.challenge, &error).object();
    if (error.error == QJsonParseError::NoError) {
        FUZZ_CHECK(object.value(QLatin1String("serverip")).toString() == seen.toString());
        FUZZ_CHECK(object.value(QLatin1String("deviceid")).toString() == device.toLabel());
    }
}
