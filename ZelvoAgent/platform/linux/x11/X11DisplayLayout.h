#pragma once

#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "platform/linux/screen/DisplayLayout.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Events.h"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace zelvo {

/// The scale in the text of RESOURCE_MANAGER: Xft.dpi / 96, at least 1; 1 without that line.
double scaleFrom(std::string_view resources);

/// Reads the monitors, the main one first. Blocks for two round trips. Empty if there is none or the
/// connection is lost.
std::vector<DisplayLayout> readDisplayLayouts(X11Connection const& connection);

/// The current displays, kept up to date by server events.
class X11DisplayLayout {
public:
    /// Reads the displays once, which blocks for a moment.
    /// connection  shared, for reading; events use a separate connection. Null: there is no display
    X11DisplayLayout(Contexts contexts, std::shared_ptr<X11Connection> connection);
    ~X11DisplayLayout();

    /// The main display; one without a size if there is none. Takes a lock only.
    DisplayLayout current() const;
    /// All displays, the main one first.
    std::vector<DisplayLayout> all() const;
    /// Called on the main executor after a change. Added at start and never removed.
    void observe(std::function<void()> observer);
    /// Reads again; blocks for two round trips. For callers that wait for the server anyway.
    void refresh();

private:
    struct State;
    std::shared_ptr<State> state;
    std::optional<X11Events> events;
};

} // namespace zelvo
