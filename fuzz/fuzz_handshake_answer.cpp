// The answer that proves who a device is. No input may pass for a device that it is not, and what passes names the
// server that was signed.
#include "fuzz_support.h"

#include <foundation/network/device_handshake_p.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>

namespace {

const CDeviceId device(12345);
const QByteArray random = "0123456789abcdef";
const QString allowed = QStringLiteral("2001:db8::1");

// Nobody can sign for the compiled-in authority, and nobody can know a random text that is made from the answer.
void answerOfAStranger(const QByteArray& answer)
{
    const QByteArray unknown = QCryptographicHash::hash(answer, QCryptographicHash::Sha256).toHex().left(16);
    FUZZ_CHECK(!DeviceHandshake::refusal(answer, unknown, device, true).isEmpty());
    FUZZ_CHECK(!DeviceHandshake::refusal(answer, unknown, device, false).isEmpty());
}

// Any text may have been signed by a device that a server in the middle has talked to. What counts of it is what it
// says to every reader, and nothing in it says otherwise.
void signedText(const QByteArray& text)
{
    Challenge challenge;
    if (!Challenge::parse(text, challenge))
        return;
    QJsonParseError error{};
    const QJsonObject object = QJsonDocument::fromJson(text, &error).object();
    if (error.error != QJsonParseError::NoError)
        return; // that reader is stricter about the bytes within texts
    // What it makes of bytes beyond ASCII is its own: nothing that counts holds any.
    if (std::any_of(text.begin(), text.end(), [](char c) { return c < 0x20 || c > 0x7e; }))
        return;
    FUZZ_CHECK(text.count('"') == 4 * object.size()); // of a key that stands twice it keeps one
    FUZZ_CHECK(object.value(QLatin1String("deviceid")).toString().toUtf8() == challenge.deviceLabel);
    FUZZ_CHECK(object.value(QLatin1String("random")).toString().toUtf8() == challenge.random);
    FUZZ_CHECK(object.value(QLatin1String("serverip")).toString().toUtf8() == challenge.server);
}

// Without certificates an answer counts exactly when the fields of its challenge are the right ones.
void answerMadeOfFields(FuzzInput& input)
{
    const quint8 wrong = input.byte();
    const QByteArray label = (wrong & 1) != 0 ? input.word() : device.toLabel().toLatin1();
    const QByteArray answered = (wrong & 2) != 0 ? input.word() : random;
    const QByteArray address = (wrong & 4) != 0 ? input.word() : allowed.toLatin1();
    const QByteArray more = (wrong & 8) != 0 ? input.word() : QByteArray();
    const QByteArray text = "{\"deviceid\": \"" + label + "\", \"random\": \"" + answered + "\", \"serverip\": \""
                            + address + '"' + more + '}';
    ChallengeAnswer answer;
    answer.challenge = text;
    signedText(text);

    const bool accepted = DeviceHandshake::refusal(answer.toBytes(), random, device, false).isEmpty();
    const bool right = label == device.toLabel().toLatin1() && answered == random && address == allowed.toLatin1();
    FUZZ_CHECK(accepted || !right || !more.isEmpty());
    if (!accepted)
        return;
    Challenge challenge;
    FUZZ_CHECK(Challenge::parse(ChallengeAnswer::parse(answer.toBytes()).challenge, challenge));
    FUZZ_CHECK(challenge.deviceLabel == device.toLabel().toLatin1());
    FUZZ_CHECK(challenge.random == random);
    FUZZ_CHECK(challenge.server == allowed.toLatin1() || challenge.server == "192.0.2.1");
}

} // namespace

FUZZ_TARGET(handshake_answer)
{
    static const bool allowedServers = qputenv("QUINTOR_SERVER_IPS_REMOTE", "192.0.2.1, 2001:db8::1");
    Q_UNUSED(allowedServers)
    switch (input.byte() % 3) {
    case 0:
        answerOfAStranger(input.rest());
        break;
    case 1:
        answerMadeOfFields(input);
        break;
    default:
        signedText(input.rest());
    }
}
