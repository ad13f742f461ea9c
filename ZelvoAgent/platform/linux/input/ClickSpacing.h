#pragma once

#include "base/Clock.h"
#include "base/Geometry.h"

#include <optional>

namespace zelvo {

/// Keeps clicks of separate actions from being taken for one double click: X11 has no click state, so
/// toolkits count clicks by time and place.
class ClickSpacing {
public:
    /// The moment at which a click that is to count as the first of a series may begin; nothing when it may
    /// at once.
    std::optional<Instant> earliest(DesktopPoint point, Duration doubleClickTime) const;
    /// Remembers a press that the server has taken.
    void pressed(DesktopPoint point, int clickState, Instant when);

private:
    struct Press {
        DesktopPoint point;
        int clickState;
        Instant when;
    };

    std::optional<Press> last;
    std::optional<Instant> beforeLast;
};

} // namespace zelvo
