// The first line of a device that calls in, before anything is known about it.
#include "fuzz_support.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/network/handshake_messages_p.h>

using Request = DeviceRequest;

FUZZ_TARGET(request_line)
{
    const CSystemId ownSystem(input.number(3));
    const QString line = input.restAsText();
    Request request;
    if (!Request::parse(line, ownSystem, request))
        return;
    FUZZ_CHECK(request.device.id.isValid());
    FUZZ_CHECK(CDataType::deviceTypeCast(request.device.type) == request.device.type && request.device.type != 0);
    FUZZ_CHECK(!request.device.system.isValid() || request.device.system == ownSystem);

    QString canonical = QStringLiteral("GET /gw/%1/%2").arg(request.device.id.toLabel()).arg(request.device.type);
    if (request.device.system.isValid())
        canonical += QLatin1Char('/') + request.device.system.toLabel();
    canonical += QStringLiteral(" HTTP/1.1");
    Request same;
    FUZZ_CHECK(Request::parse(canonical, ownSystem, same));
    FUZZ_CHECK(same.device == request.device);
    // Another installation takes it for one of its own only when the line names none.
    const CSystemId otherSystem(ownSystem.value() ^ 1);
    FUZZ_CHECK(Request::parse(line, otherSystem, same) == !request.device.system.isValid());
}
