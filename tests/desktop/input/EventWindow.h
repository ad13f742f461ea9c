#pragma once

#include "desktop/harness/XQuestions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo::test {

/// A window over the whole screen that has the focus and writes down every event of keys and buttons:
/// "key+38" is a press of keycode 38, "button-1" a release of the first button.
class EventWindow {
public:
    explicit EventWindow(std::string const& display);

    /// What has come in since the last time, in order.
    std::vector<std::string> take();
    /// Where the pointer was at the last event of a button, in pixels, and the modifiers that were down.
    int lastX = 0;
    int lastY = 0;
    std::uint16_t lastState = 0;

private:
    XConnection x;
};

} // namespace zelvo::test
