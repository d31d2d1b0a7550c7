// The answer that proves who a device is. No input may pass for a device that it is not.
#include "fuzz_support.h"

#include <foundation/core/json_parser.h>
#include <foundation/network/device_handshake_p.h>

#include <QtCore/QCryptographicHash>

namespace {

const CDeviceId device(12345);

// Nobody can sign for the compiled-in authority, and nobody can know a random text that is made from the answer.
void answerOfAStranger(const QByteArray& answer)
{
    const QString random =
        QString::fromLatin1(QCryptographicHash::hash(answer, QCryptographicHash::Sha256).toHex().left(16));
    FUZZ_CHECK(!DeviceHandshake::refusal(answer, random, device, true).isEmpty());
    FUZZ_CHECK(!DeviceHandshake::refusal(answer, random, device, false).isEmpty());
}

// Without certificates the answer counts exactly when its three fields are the right ones.
void answerMadeOfFields(FuzzInput& input)
{
    const QString random = QStringLiteral("0123456789abcdef");
    const QString allowed = QStringLiteral("2001:db8::1");
    const quint8 wrong = input.byte();
    const QString label = (wrong & 1) != 0 ? input.text() : device.toLabel();
    const QString answered = (wrong & 2) != 0 ? input.text() : random;
    const QString address = (wrong & 4) != 0 ? input.text() : allowed;
    const QString challenge = CJsonParser::serialize(QVariantMap{{QStringLiteral("deviceid"), label},
                                                                 {QStringLiteral("random"), answered},
                                                                 {QStringLiteral("serverip"), address}});
    QVariantMap map{{QStringLiteral("challenge"), challenge}};
    if (!input.atEnd())
        map.insert(QStringLiteral("certificate"),
                   QString(QStringLiteral("PEM ") + input.text().remove(QLatin1Char('\\'))));
    const bool right = label == device.toLabel() && answered == random && address == allowed;
    const QByteArray answer = CJsonParser::serialize(map).toUtf8();
    const bool accepted = DeviceHandshake::refusal(answer, random, device, false).isEmpty();
    if (accepted) {
        // Only what a reader drops from a text may differ.
        FUZZ_CHECK(right || challenge.contains(device.toLabel()));
        FUZZ_CHECK(right || challenge.contains(random));
    }
    FUZZ_CHECK(accepted || !right);
}

} // namespace

FUZZ_TARGET(handshake_answer)
{
    static const bool allowedServers = qputenv("QUINTOR_SERVER_IPS_REMOTE", "192.0.2.1, 2001:db8::1");
    Q_UNUSED(allowedServers)
    if (input.flag())
        answerMadeOfFields(input);
    else
        answerOfAStranger(input.rest());
}
