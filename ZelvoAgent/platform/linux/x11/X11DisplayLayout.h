#pragma once

#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "platform/linux/x11/DisplayLayout.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Events.h"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace zelvo {

/// The scale in the text of RESOURCE_MANAGER: Xft.dpi / 96, at least 1; 1 without such a line.
double scaleFrom(std::string_view resources);

/// Reads the monitors, the main one first. Blocks for two round trips. Empty when there is none or the server
/// is gone.
std::vector<DisplayLayout> readDisplayLayouts(X11Connection const& connection);

/// The displays as they are now, kept by the server's events.
/// Thread: any.
class X11DisplayLayout {
public:
    /// Reads once, which blocks for a moment. connection: for reading, shared with others; events come over
    /// one of its own. Without a connection there is no display.
    X11DisplayLayout(Contexts contexts, std::shared_ptr<X11Connection> connection);
    ~X11DisplayLayout();

    /// The main display; one without size when there is none. Costs a lock.
    DisplayLayout current() const;
    /// All displays, the main one first.
    std::vector<DisplayLayout> all() const;
    /// Called on the main executor after a change. Added at start and never removed.
    void observe(std::function<void()> observer);
    /// Reads anew; blocks for two round trips. For those who wait for the server anyway.
    void refresh();

private:
    struct State;
    std::shared_ptr<State> state;
    std::optional<X11Events> events;
};

} // namespace zelvo
