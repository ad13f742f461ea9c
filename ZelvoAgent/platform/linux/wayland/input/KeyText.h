#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/input/SeatKeyboard.h"
#include "platform/linux/wayland/input/SwitchSink.h"
#include "platform/linux/wayland/input/TextWay.h"

namespace zelvo {

/// Types with the keys of the active layout, if it has all characters of the text: compositors drop others
/// without a word.
class KeyText final : public TextWay {
public:
    KeyText(Contexts contexts, Clock& clock, SwitchSink& switches, SeatKeyboard& keyboard)
        : contexts(std::move(contexts)), clock(clock), switches(switches), keyboard(keyboard)
    {
    }

    Task<bool> begin(std::string text) override;
    Task<bool> type(std::string piece) override;
    Task<> end() override { co_return; }

private:
    bool hasAll(std::u32string const& characters);
    /// The same with the keys of this moment.
    Task<bool> hasAllNow(std::u32string characters);

    Contexts contexts;
    Clock& clock;
    SwitchSink& switches;
    SeatKeyboard& keyboard;
    Instant refreshed; ///< the keyboard
};

} // namespace zelvo
