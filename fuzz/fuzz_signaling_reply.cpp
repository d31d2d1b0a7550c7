// Replies of the signaling service, or of whoever answers in its place.
#include "fuzz_support.h"

#include <foundation/core/json_text.h>
#include <foundation/network/signaling_mac_p.h>
#include <foundation/network/signaling_server_app_side.h>
#include <foundation/network/signaling_server_device_side.h>

#include <QtNetwork/QNetworkReply>

namespace {

class Reply : public QNetworkReply
{
public:
    explicit Reply(const QByteArray& mac) { setRawHeader(signalingMacHeader, mac); }
    void abort() override {}

protected:
    qint64 readData(char*, qint64) override { return -1; }
};

} // namespace

FUZZ_TARGET(signaling_reply)
{
    const bool isSigned = input.flag();
    const QByteArray foreignMac = isSigned ? QByteArray() : input.word();
    const QByteArray body = input.rest();
    const Reply reply(isSigned ? signalingMac(body) : foreignMac);
    const bool expected = isSigned && !CJsonText::read(body).isNull();

    CSignalingServerAppSide appSide(QStringLiteral("localhost"), nullptr);
    const QMap<CDeviceId, QString> before{{CDeviceId(7), QStringLiteral("kept")}};
    QMap<CDeviceId, QString> gateways = before;
    FUZZ_CHECK(appSide.getGatewaysInfo(&reply, body, gateways) == expected);
    FUZZ_CHECK(expected || gateways == before);
    for (auto it = gateways.cbegin(); it != gateways.cend(); ++it) {
        FUZZ_CHECK(it.key().value() <= CDeviceId::maximum);
        FUZZ_CHECK(!it.value().isEmpty() && (!expected || it.value().size() <= body.size()));
    }

    CSignalingServerDeviceSide deviceSide(QStringLiteral("localhost"), nullptr);
    QString authorities = QStringLiteral("kept");
    FUZZ_CHECK(deviceSide.getSoftwareInfo(&reply, body, authorities) == expected);
    FUZZ_CHECK(expected || authorities == QLatin1String("kept"));
    FUZZ_CHECK(authorities.size() <= qMax(body.size(), 4));
}
