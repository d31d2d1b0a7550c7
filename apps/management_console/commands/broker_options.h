#pragma once

#include <server/bridge/notification_bridge.h>

#include <optional>

class AppOptions;

/// The options that join a server to others through a broker.
void addBrokerOptions(AppOptions& options);
/// What they say; nothing where no broker is named, or with an error in `options`. `filesAreHere`: those that are named
/// are this process's own, so that it may open them.
std::optional<CNotificationBridge::Settings> readBrokerOptions(AppOptions& options, bool filesAreHere);
