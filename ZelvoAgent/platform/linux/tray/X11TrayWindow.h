#pragma once

#include "base/Contexts.h"
#include "platform/SystemTray.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Events.h"

#include <functional>
#include <memory>
#include <optional>

namespace zelvo {

/// Follows the window that embeds tray icons: the owner of the selection _NET_SYSTEM_TRAY_S<screen>. Changes
/// of the owner come by XFixes; without that extension the first answer stays.
class X11TrayWindow {
public:
    /// Asks once, which blocks for two round trips.
    /// connection  only for this, since its events are read here; null: there is no tray window
    /// onChange    called with each new state, on a worker or, for the first, before this returns; at first
    ///             there is no window. `foreground` is the first colour of _NET_SYSTEM_TRAY_COLORS
    X11TrayWindow(Contexts const& contexts,
                  std::shared_ptr<X11Connection> const& connection,
                  std::function<void(TrayState)> onChange);
    ~X11TrayWindow();

private:
    class Watch;
    std::optional<X11Events> events;
};

} // namespace zelvo
