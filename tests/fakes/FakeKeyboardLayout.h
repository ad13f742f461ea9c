#pragma once

#include "platform/KeyboardLayout.h"

#include <functional>

namespace zelvo {

/// A layout that a test sets; by default no key gives anything that has a name.
class FakeKeyboardLayout final : public KeyboardLayout {
public:
    std::function<std::vector<std::vector<std::string>>(KeyEvent)> chords;

    Task<std::vector<std::vector<std::string>>> chordsOf(KeyEvent event) override
    {
        co_return chords ? chords(event) : std::vector<std::vector<std::string>>();
    }
};

} // namespace zelvo
