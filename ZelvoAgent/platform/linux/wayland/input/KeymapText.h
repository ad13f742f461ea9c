#pragma once

#include "platform/linux/wayland/input/SwitchSink.h"
#include "platform/linux/wayland/input/TextWay.h"

namespace zelvo {

/// Types with a keymap made for the text, where the compositor takes one.
class KeymapText final : public TextWay {
public:
    explicit KeymapText(SwitchSink& switches) : switches(switches) {}

    Task<bool> begin(std::string text) override;
    Task<bool> type(std::string piece) override;
    Task<> end() override { co_return; }

private:
    Task<bool> typePart(std::string part);

    SwitchSink& switches;
};

} // namespace zelvo
