#pragma once

#include "base/Clock.h"
#include "platform/linux/dbus/BusMessages.h"

#include <optional>
#include <string>

namespace zelvo {

/// The address of the accessibility bus, asked of the session bus, which starts it when it does not run yet.
/// Nothing when nobody answers within `patience`. Blocks.
std::optional<std::string> askForAccessibilityBus(Duration patience);

} // namespace zelvo
