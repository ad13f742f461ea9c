#pragma once

#include "platform/linux/wayland/input/TextInsertion.h"
#include "platform/linux/wayland/input/TextWay.h"

namespace zelvo {

/// Inserts text through the accessibility bus, into elements that take it that way.
class InsertedText final : public TextWay {
public:
    explicit InsertedText(TextInsertion& insertion) : insertion(insertion) {}

    Task<bool> begin(std::string text) override;
    Task<bool> type(std::string piece) override;
    Task<> end() override { co_return; }

private:
    TextInsertion& insertion;
};

} // namespace zelvo
