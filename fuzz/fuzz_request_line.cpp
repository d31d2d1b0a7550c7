// The first line of a device that calls in, before anything is known about it.
#include "fuzz_support.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/network/device_handshake_p.h>

using Request = DeviceHandshake::Request;

FUZZ_TARGET(request_line)
{
    const CSystemId ownSystem(input.number(3));
    const QString line = input.restAsText();
    Request request;
    if (!Request::parse(line, ownSystem, request))
        return;
    FUZZ_CHECK(request.deviceId.isValid());
    FUZZ_CHECK(CDataType::deviceTypeCast(request.deviceType) == request.deviceType && request.deviceType != 0);
    FUZZ_CHECK(!request.systemId.isValid() || request.systemId == ownSystem);

    QString canonical = QStringLiteral("GET /gw/%1/%2").arg(request.deviceId.toLabel()).arg(request.deviceType);
    if (request.systemId.isValid())
        canonical += QLatin1Char('/') + request.systemId.toLabel();
    canonical += QStringLiteral(" HTTP/1.1");
    Request same;
    FUZZ_CHECK(Request::parse(canonical, ownSystem, same));
    FUZZ_CHECK(same.deviceId == request.deviceId && same.deviceType == request.deviceType
               && same.systemId == request.systemId);
    // Another installation takes it for one of its own only when the line names none.
    const CSystemId otherSystem(ownSystem.value() ^ 1);
    FUZZ_CHECK(Request::parse(line, otherSystem, same) == !request.systemId.isValid());
}
