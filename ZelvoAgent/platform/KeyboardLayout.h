#pragma once

#include "base/Task.h"
#include "platform/EventPosting.h"

#include <string>
#include <vector>

namespace zelvo {

/// What keys give in the keyboard layout of the moment.
/// Thread: as EventPosting, and not while text is typed.
/// Made by: platform/linux/x11/input/X11EventPosting, tests/fakes/FakeKeyboardLayout.
class KeyboardLayout {
public:
    virtual ~KeyboardLayout() = default;
    /// The chords that a program may read from this key event, in the names of DangerousShortcuts: the active
    /// layout's first, then those of the other layouts, which programs fall back to. Empty if the key gives
    /// nothing that has a name, or if the layout cannot be read.
    virtual Task<std::vector<std::vector<std::string>>> chordsOf(KeyEvent event) = 0;
};

} // namespace zelvo
