// Candidates for connections: from the signaling service, web services and settings.
#include "fuzz_support.h"

#include <foundation/network/candidate_address_p.h>

#include <QtCore/QUrl>

#include <arpa/inet.h>

using Kind = CandidateAddress::Kind;

FUZZ_TARGET(candidate_address)
{
    const auto defaultPort = static_cast<quint16>(input.number(2));
    const QByteArray bytes = input.rest();
    const QString text = fuzzText(bytes);
    const CandidateAddress candidate = CandidateAddress::parse(text, defaultPort);
    FUZZ_CHECK(candidate.hasPort || candidate.port == defaultPort);
    FUZZ_CHECK(candidate.deviceId.isValid() == (candidate.kind == Kind::Label));
    FUZZ_CHECK(candidate.host.isEmpty() == (candidate.kind != Kind::HostName));
    FUZZ_CHECK(candidate.address.isNull() == (candidate.kind != Kind::Address));

    // The system's own reader says which texts are plain IPv4 addresses.
    in_addr address{};
    if (!bytes.contains('\0') && inet_pton(AF_INET, bytes.constData(), &address) == 1) {
        FUZZ_CHECK(candidate.kind == Kind::Address && !candidate.hasPort);
        FUZZ_CHECK(candidate.address == QHostAddress(ntohl(address.s_addr)));
    }

    switch (candidate.kind) {
    case Kind::Nothing:
        FUZZ_CHECK(text.isEmpty());
        break;
    case Kind::Label:
        FUZZ_CHECK(CDeviceId::fromLabel(text) == candidate.deviceId);
        break;
    case Kind::Url: {
        FUZZ_CHECK(text.startsWith(QLatin1String("http")));
        const QUrl named(text);
        const QString path = QStringLiteral("/gw/000.123.457/41");
        for (const bool useSsl : {false, true}) {
            const QUrl url = CandidateAddress::webSocketUrl(text, useSsl, path);
            FUZZ_CHECK(!url.isValid() || url.scheme() == QLatin1String("wss")
                       || (!useSsl && url.scheme() == QLatin1String("ws") && named.scheme() != QLatin1String("https")));
            FUZZ_CHECK(!url.isValid() || !named.isValid()
                       || (url.host() == named.host() && url.port() == named.port() && url.path().endsWith(path)));
        }
        break;
    }
    case Kind::HostName:
        FUZZ_CHECK(text.startsWith(candidate.host));
        FUZZ_CHECK(candidate.hasPort || candidate.host == text);
        break;
    case Kind::Address: {
        const CandidateAddress same =
            CandidateAddress::parse(CandidateAddress::toText(candidate.address, candidate.port), 0);
        FUZZ_CHECK(same.kind == Kind::Address && same.hasPort && same.port == candidate.port);
        FUZZ_CHECK(CandidateAddress::isSame(same.address, candidate.address));
        FUZZ_CHECK(CandidateAddress::parse(CandidateAddress::toText(candidate.address), 0).kind == Kind::Address);
    }
    }
}
