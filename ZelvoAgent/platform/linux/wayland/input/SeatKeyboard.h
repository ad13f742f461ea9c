#pragma once

#include "platform/EventPosting.h"
#include "platform/linux/input/KeyTable.h"
#include "platform/linux/wayland/SeatKeymap.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct xkb_keymap;

namespace zelvo {

/// What the keys of the seat type at the moment. Thread: one at a time.
class SeatKeyboard {
public:
    /// read  blocks for a moment; `nullopt` if the keymap cannot be read
    explicit SeatKeyboard(std::function<std::optional<SeatKeymap>()> read);

    /// Brings everything up to date; blocks. False if the keymap cannot be read.
    bool refresh();
    /// What the last refresh() found: a keymap, or one that is no keymap; neither if there is none.
    bool isKnown() const { return status == Status::known; }
    bool isUnreadable() const { return status == Status::unreadable; }
    /// Whether it is certain what keys type: with several layouts, the active one must be known.
    bool isCertain() const { return isCertainNow; }
    /// How a character is typed; null if no key types it.
    KeyStroke const* strokeFor(char32_t character) const { return table.find(character); }
    /// The keycodes of the modifier keys for an event, in the order of pressing.
    std::vector<std::uint8_t> modifiersFor(ModifierFlags flags) const;
    /// The chords that programs may read from a key; see KeyboardLayout.
    std::vector<std::vector<std::string>> readings(std::uint8_t keycode, ModifierFlags flags) const;

private:
    struct Release {
        void operator()(xkb_keymap* released) const noexcept;
    };

    enum class Status { absent, unreadable, known };

    bool take(SeatKeymap now);

    Status status = Status::absent;
    std::function<std::optional<SeatKeymap>()> read;
    std::optional<SeatKeymap> seen;
    std::unique_ptr<xkb_keymap, Release> keymap;
    KeyboardState state;
    ModifierKeys modifiers;
    KeyTable table;
    bool isCertainNow = false;
};

} // namespace zelvo
