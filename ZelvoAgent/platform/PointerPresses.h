#pragma once

#include "base/Geometry.h"

#include <functional>
#include <memory>

namespace zelvo {

/// While it exists, presses are reported.
class PressObservation {
public:
    virtual ~PressObservation() = default;
};

/// Reports each press of a pointer's button, whichever window gets it: the person's and those that agents
/// post. A turn of the wheel is not a press.
/// Thread: main. Made by: platform/linux/x11/input/X11PointerPresses, tests/fakes/FakePointerPresses.
class PointerPresses {
public:
    virtual ~PointerPresses() = default;
    /// Costs nothing before the call and after the observation.
    /// pressed  called on the main executor with the pointer's place just after the press; never after the
    ///          observation has ended. Presses of the first milliseconds may be missed.
    /// Gives    always an object; where the system reports no presses, it reports none
    virtual std::unique_ptr<PressObservation> observe(std::function<void(DesktopPoint)> pressed) = 0;
};

} // namespace zelvo
