// Discovery datagrams: anybody on the network sends them.
#include "fuzz_support.h"

#include <foundation/network/device_discovery_base.h>

using Base = CDeviceDiscoveryBase;

FUZZ_TARGET(discovery_message)
{
    const QByteArray data = input.rest();
    Base::DatagramType type = Base::DeviceInfoResult;
    const auto headers = Base::parseHeaders(data, type);
    FUZZ_CHECK(type == Base::NoDatagram || type == Base::GetDeviceInfo || type == Base::DeviceInfoResult);
    FUZZ_CHECK(type == Base::NoDatagram || data.startsWith("DISCOVERY "));
    FUZZ_CHECK(headers.size() <= 3);
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        FUZZ_CHECK(it.key() >= Base::DeviceType && it.key() <= Base::SystemId);
        FUZZ_CHECK(it.value().userType() == (it.key() == Base::DeviceType ? QMetaType::Int : QMetaType::UInt));
    }

    // What was understood can be said again, and then means the same.
    const QByteArray rendered = Base::renderHeaders(headers, type);
    Base::DatagramType typeAgain = Base::NoDatagram;
    FUZZ_CHECK(Base::parseHeaders(rendered, typeAgain) == headers);
    FUZZ_CHECK(typeAgain == type);
    FUZZ_CHECK(rendered.size() < 128);
}
