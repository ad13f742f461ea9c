#pragma once

#include "base/AsyncMutex.h"
#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/EventPosting.h"
#include "platform/KeyboardLayout.h"
#include "platform/linux/input/ClickSpacing.h"
#include "platform/linux/wayland/input/InsertedText.h"
#include "platform/linux/wayland/input/KeyText.h"
#include "platform/linux/wayland/input/KeymapText.h"
#include "platform/linux/wayland/input/PastedText.h"
#include "platform/linux/wayland/input/SeatKeyboard.h"
#include "platform/linux/wayland/input/SwitchSink.h"
#include "platform/linux/wayland/input/WaylandDelivery.h"

#include <array>
#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Makes events through the compositor's doors. A text takes the first way that can carry all of it: a keymap
/// of its own, the keys of the layout, insertion by the accessibility bus, the clipboard. Thread: as
/// EventPosting. Failures: without an open door every event gives false; beginText() throws
/// DetailedAgentError for a text that no way can carry, and post() for one that did not arrive and for
/// modifiers while the keymap cannot be read. While nobody sees the windows, whoever is pressed or typed to
/// is unknown: beginText() and presses then throw AgentError::machineUnavailable, and the pointer stays
/// where it is.
class WaylandEventPosting final : public EventPosting, public KeyboardLayout {
public:
    /// All of it outlives this.
    struct Parts {
        Contexts contexts;
        Clock& clock;
        std::function<InputSink*()> sink; ///< null while there is none
        std::function<MonitorLayout()> monitors;
        std::function<std::optional<SeatKeymap>()> keymap;    ///< blocks
        std::function<std::optional<LogicalPoint>()> pointer; ///< blocks; `nullopt` if it is unknown
        std::function<std::optional<std::int32_t>()> front;   ///< the process in front; blocks
        TextInsertion& insertion;
        LentPasteboard* clipboard = nullptr;    ///< null if there is none
        std::function<bool()> seesWindows = {}; ///< always, if empty; never waits
    };

    explicit WaylandEventPosting(Parts given);

    Task<> ready(PostedEvent event) override;
    Task<bool> post(PostedEvent event) override;
    Task<> beginText(std::string text) override;
    Task<> endText() override;
    Task<> releaseAll() override;
    Task<> drained() override;
    Task<bool> delivered() override;
    DesktopPoint pointerLocation() override;
    bool knowsOwnWindows() const override { return false; }
    void setMayContinue(MayContinue ask) override { switches.setMayContinue(std::move(ask)); }
    Task<std::vector<std::vector<std::string>>> chordsOf(KeyEvent event) override;

private:
    bool seesWindows() const { return !parts.seesWindows || parts.seesWindows(); }
    Task<bool> make(MouseEvent event);
    Task<bool> make(KeyEvent event);
    Task<bool> make(ScrollEvent event);
    Task<bool> make(TextEvent event);
    /// The keys to hold. Throws DetailedAgentError if the keymap cannot be read.
    Task<std::vector<std::uint8_t>> modifiersFor(ModifierFlags flags);
    /// Brings `keyboard` up to date. A session without any keyboard has a keymap only after its first key.
    Task<bool> knowsKeys();
    std::optional<Instant> earliestClick(DesktopPoint point);

    Parts parts;
    SwitchSink switches;
    SeatKeyboard keyboard;
    KeymapText byKeymap;
    KeyText byKeys;
    InsertedText byInsertion;
    PastedText byPaste;
    WaylandDelivery delivery;
    AsyncMutex turn;        // Events and releases do not mix.
    TextWay* way = nullptr; // turn; that of the text which is being typed
    std::mutex lock;
    ClickSpacing spacing;                  // lock
    std::optional<DesktopPoint> lastPoint; // lock
};

} // namespace zelvo
