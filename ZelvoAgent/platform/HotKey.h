#pragma once

#include <functional>

namespace zelvo {

/// The global key Control, Option, Command and P.
/// Made by: platform/linux/x11/input/X11HotKey, tests/fakes/FakeDesktop.h.
class HotKey {
public:
    virtual ~HotKey() = default;
    /// Registers the key for the life of the process. If another program has it, nothing happens. Calls
    /// `onPressed` on the main executor at each press, not at its repeats.
    virtual void start(std::function<void()> onPressed) = 0;
};

} // namespace zelvo
