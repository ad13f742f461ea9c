#pragma once

#include "platform/linux/wayland/ClientList.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace zelvo {

/// The process whose accessible window is active; `nullopt` if there is none. Blocks for some milliseconds.
using ActiveProcess = std::function<std::optional<std::int32_t>()>;

/// The same, without a process that is no client of the compositor: it has no window, whatever it says, or is
/// the proxy of a sandbox. clients  must outlive the result
ActiveProcess amongClients(ActiveProcess active, ClientList& clients);

/// The windows of a look. Without one: what is known all the same, one window without an id that is in front.
std::vector<OpenWindow> openWindowsOf(WindowSnapshot const* snapshot,
                                      CompositorWindows const& desktop,
                                      ActiveProcess const& activeProcess);

} // namespace zelvo
