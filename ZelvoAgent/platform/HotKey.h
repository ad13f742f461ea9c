#pragma once

#include <functional>

namespace zelvo {

/// The global key Control, Option, Command and P.
/// Made by: platform/linux/x11/input/X11HotKey, tests/fakes/FakeHotKey.
class HotKey {
public:
    virtual ~HotKey() = default;
    /// Registers the key for the life of the process; a key that somebody else holds just does not work.
    /// `onPressed` is called on the main executor at each press, not at its repeats.
    virtual void start(std::function<void()> onPressed) = 0;
};

} // namespace zelvo
