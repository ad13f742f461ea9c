#pragma once

#include "base/Clock.h"
#include "platform/linux/wayland/input/LentPasteboard.h"
#include "platform/linux/wayland/input/SeatKeyboard.h"
#include "platform/linux/wayland/input/SwitchSink.h"
#include "platform/linux/wayland/input/TextInsertion.h"
#include "platform/linux/wayland/input/TextWay.h"

#include <optional>

namespace zelvo {

/// Pastes text by way of the clipboard, with Control and V, in terminals with Shift too. Line ends and tabs
/// are struck as keys. The text that was on the clipboard is put back at the end, if nobody has changed it
/// meanwhile.
class PastedText final : public TextWay {
public:
    /// clipboard  null if there is none
    PastedText(Clock& clock,
               SwitchSink& switches,
               SeatKeyboard& keyboard,
               LentPasteboard* clipboard,
               TextInsertion& insertion)
        : clock(clock), switches(switches), keyboard(keyboard), clipboard(clipboard), insertion(insertion)
    {
    }

    Task<bool> begin(std::string text) override;
    Task<bool> type(std::string piece) override;
    Task<> end() override;

private:
    Task<bool> paste(std::string part);
    Task<bool> hasArrived(std::string part);
    Task<bool> strike(std::uint8_t keycode, std::vector<std::uint8_t> modifiers = {});

    Clock& clock;
    SwitchSink& switches;
    SeatKeyboard& keyboard;
    LentPasteboard* clipboard;
    TextInsertion& insertion;
    TextInsertion::Place place;
    std::string before;                   ///< what was on the clipboard
    std::optional<std::int64_t> lastOurs; ///< the clipboard's count after our last change
};

} // namespace zelvo
