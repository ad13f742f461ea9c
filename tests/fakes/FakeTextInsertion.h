#pragma once

#include "platform/linux/wayland/input/TextInsertion.h"

#include <string>

namespace zelvo {

/// A focused element with the text that a test gives it. Thread: one.
class FakeTextInsertion final : public TextInsertion {
public:
    std::optional<Place> place; ///< `nullopt`: nothing has the focus
    std::string text;           ///< before the caret
    bool loses = false;         ///< inserted text does not arrive

    Task<std::optional<Place>> begin() override { co_return place; }
    Task<bool> insert(std::string piece) override
    {
        if (!loses)
            text += piece;
        co_return !loses;
    }
    Task<bool> isBeforeCaret(std::string piece) override { co_return text.ends_with(piece); }
};

} // namespace zelvo
