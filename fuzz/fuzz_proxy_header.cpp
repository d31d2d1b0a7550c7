// What stands in front of a connection that a balancer passes on.
#include "fuzz_support.h"

#include <foundation/network/proxy_header_p.h>

FUZZ_TARGET(proxy_header)
{
    const QByteArray bytes = input.rest();
    ProxyHeader header;
    const ProxyHeader::Result result = ProxyHeader::parse(bytes, header);
    FUZZ_CHECK(result != ProxyHeader::Incomplete || bytes.size() < ProxyHeader::longest);
    if (result == ProxyHeader::Complete) {
        FUZZ_CHECK(header.size >= 16 && header.size <= bytes.size());
        // What stands behind it is not its own.
        ProxyHeader same;
        FUZZ_CHECK(ProxyHeader::parse(bytes.left(header.size), same) == ProxyHeader::Complete);
        FUZZ_CHECK(same.size == header.size && same.address == header.address && same.port == header.port);
    }
    // Each beginning of a header may still become one, and no text that is none may.
    for (int length = 0; length < bytes.size() && length < 80; ++length) {
        ProxyHeader other;
        const ProxyHeader::Result early = ProxyHeader::parse(bytes.left(length), other);
        const bool whole = result == ProxyHeader::Complete && length >= header.size;
        FUZZ_CHECK(early == ProxyHeader::Incomplete || early == result);
        FUZZ_CHECK(whole == (early == ProxyHeader::Complete) || result != ProxyHeader::Complete);
    }
}
