#pragma once

#include <functional>

namespace zelvo {

/// Reports when another window may have come to the front or taken the keyboard focus.
/// Made by: platform/linux/x11/windows/X11FrontChanges, tests/fakes/FakeFrontChanges.
class FrontChanges {
public:
    virtual ~FrontChanges() = default;
    /// Calls the observer on the agent executor after each such change. Set at start and never changed.
    virtual void observe(std::function<void()> observer) = 0;
};

} // namespace zelvo
