#pragma once

#include "desktop/harness/XQuestions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo::test {

/// A focused window over the whole screen that records every key and button event: "key+38" is a press of
/// keycode 38, "button-1" a release of the first button.
class EventWindow {
public:
    explicit EventWindow(std::string const& display);

    /// The events since the last call, in order.
    std::vector<std::string> take();
    /// The pointer's position in pixels at the last button event, and the modifiers then.
    int lastX = 0;
    int lastY = 0;
    std::uint16_t lastState = 0;

private:
    XConnection x;
};

} // namespace zelvo::test
