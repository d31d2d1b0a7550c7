#pragma once

/// The ports that the tools use unless told otherwise.
namespace DefaultPorts {
constexpr int discovery = 21717; ///< UDP
constexpr int device = 21718;    ///< TCP, the first of a simulator's devices
constexpr int server = 21719;    ///< TLS, where devices call in
constexpr int balanced = 21720;  ///< TCP, where a TLS balancer passes on those that call in
} // namespace DefaultPorts
