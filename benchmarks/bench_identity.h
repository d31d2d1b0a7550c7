#pragma once

#include <support/device_certificates.h>

/// The certificate and key that both ends of the benchmarks use.
inline const DeviceCertificate& benchIdentity()
{
    static DeviceCertificates authority;
    static const DeviceCertificate identity = authority.issue(QStringLiteral("000.123.457"));
    return identity;
}
