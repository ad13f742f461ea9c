#pragma once

#include "base/Clock.h"
#include "platform/linux/dbus/BusMessages.h"

#include <optional>
#include <string>

namespace zelvo {

/// Asks the session bus for the address of the accessibility bus; that starts the accessibility bus if
/// necessary. `nullopt` if there is no answer within `patience`. Blocks.
std::optional<std::string> askForAccessibilityBus(Duration patience);

} // namespace zelvo
