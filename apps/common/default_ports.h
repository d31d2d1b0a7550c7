#pragma once

/// The ports that the tools use unless told otherwise.
namespace DefaultPorts {
constexpr int Discovery = 21717; ///< UDP
constexpr int Device = 21718;    ///< TCP, the first of a simulator's devices
constexpr int Server = 21719;    ///< TLS, where devices call in
} // namespace DefaultPorts
