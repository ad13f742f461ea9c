#pragma once

#include "base/Task.h"

#include <optional>
#include <string>

namespace zelvo {

/// The element with the keyboard focus in the window in front, as a place for text.
/// Thread: agent; one call at a time. Waits at most some seconds.
/// Made by: wayland/AtspiTextInsertion, tests/fakes/FakeTextInsertion.
class TextInsertion {
public:
    struct Place {
        bool isEditable = false; ///< takes text without key events
        bool isReadable = false; ///< shows its text to assistive technology, so what arrived can be read back
        bool isTerminal = false;
    };

    virtual ~TextInsertion() = default;
    /// Looks which element has the focus, for the calls that follow. `nullopt` if none can be found.
    virtual Task<std::optional<Place>> begin() = 0;
    /// Puts text where the caret is, in place of what is selected. False if it was not there afterwards.
    virtual Task<bool> insert(std::string text) = 0;
    /// Whether this text is just before the caret now.
    virtual Task<bool> isBeforeCaret(std::string text) = 0;
};

} // namespace zelvo
