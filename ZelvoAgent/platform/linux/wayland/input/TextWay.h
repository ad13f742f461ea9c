#pragma once

#include "base/Task.h"

#include <string>

namespace zelvo {

/// One way in which a text can reach the element with the keyboard focus.
/// Thread: agent; one call at a time.
/// Made by: KeymapText, KeyText, InsertedText, PastedText.
class TextWay {
public:
    virtual ~TextWay() = default;
    /// Whether the whole text can go this way. If so, end() must follow.
    virtual Task<bool> begin(std::string text) = 0;
    /// Types the next piece; resumes when it is where the next one may follow. False if it did not arrive.
    virtual Task<bool> type(std::string piece) = 0;
    virtual Task<> end() = 0;
};

} // namespace zelvo
