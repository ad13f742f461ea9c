#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/input/LentPasteboard.h"
#include "platform/linux/wayland/input/SeatKeyboard.h"
#include "platform/linux/wayland/input/SwitchSink.h"
#include "platform/linux/wayland/input/TextInsertion.h"
#include "platform/linux/wayland/input/TextWay.h"

#include <optional>

namespace zelvo {

/// Pastes text by way of the clipboard, with Control and V, in terminals with Shift too. Line ends and tabs
/// are struck as keys. What was on the clipboard is put back at the end, if nobody has changed it meanwhile;
/// if it cannot be kept, nothing is pasted.
class PastedText final : public TextWay {
public:
    /// clipboard  null if there is none
    PastedText(Contexts contexts,
               Clock& clock,
               SwitchSink& switches,
               SeatKeyboard& keyboard,
               LentPasteboard* clipboard,
               TextInsertion& insertion)
        : contexts(std::move(contexts)), clock(clock), switches(switches), keyboard(keyboard),
          clipboard(clipboard), insertion(insertion)
    {
    }

    Task<bool> begin(std::string text) override;
    Task<bool> type(std::string piece) override;
    Task<> end() override;

private:
    /// Keeps what somebody copied since the last change of ours. False if that cannot be kept.
    Task<bool> keep();
    Task<bool> paste(std::string part);
    Task<bool> strikePaste();
    Task<bool> hasArrived(std::string part);
    /// The same where nothing shows the text.
    Task<bool> hasBeenRead();
    Task<bool> strike(std::uint8_t keycode, std::vector<std::uint8_t> modifiers = {});

    Contexts contexts;
    Clock& clock;
    SwitchSink& switches;
    SeatKeyboard& keyboard;
    LentPasteboard* clipboard;
    TextInsertion& insertion;
    TextInsertion::Place place;
    ClipboardForms kept;    ///< what was on the clipboard
    std::int64_t known = 0; ///< the clipboard's count when it was kept, or after our last change
    bool isLent = false;    ///< the clipboard may have a text of ours
    /// See LendableClipboard::readings(): before the clipboard had the part, and before the keys.
    std::optional<std::uint64_t> readingsBeforeLoan;
    std::optional<std::uint64_t> readingsBeforeKeys;
    Duration putBackDelay{}; ///< until the clipboard may be put back
};

} // namespace zelvo
