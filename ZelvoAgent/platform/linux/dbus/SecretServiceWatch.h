#pragma once

#include "platform/linux/dbus/BusConnection.h"

#include <functional>

namespace zelvo {

/// Calls `onAvailable`, on the agent executor, when a Secret Service appears on the bus and when one of its
/// collections is unlocked. Starts no service and sends no calls.
void watchSecretService(BusConnection& session, std::function<void()> onAvailable);

} // namespace zelvo
