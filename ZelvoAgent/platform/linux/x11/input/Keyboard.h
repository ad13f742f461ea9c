#pragma once

#include "platform/EventPosting.h"
#include "platform/linux/input/KeyTable.h"
#include "platform/linux/x11/input/BindingPlan.h"
#include "platform/linux/x11/input/InputConnection.h"
#include "platform/linux/x11/input/ServerKeymap.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

/// The server's keymap and the state of its modifiers and groups, read again when they have changed.
/// Thread: one caller at a time; refresh() blocks for a round trip or a few.
class Keyboard {
public:
    explicit Keyboard(InputConnection& connection);

    /// Brings everything up to date. False when it could not be read.
    bool refresh();

    /// How a character is typed as things stand; nothing when no key types it.
    KeyStroke const* strokeFor(char32_t character) const { return table.find(character); }
    /// The modifier keys to be pressed for an event, less those that somebody else holds down. `held` tells
    /// whether we hold a key ourselves.
    template <class Held>
    std::vector<std::uint8_t> modifiersToPress(ModifierFlags flags, Held held) const
    {
        std::vector<std::uint8_t> keys;
        auto const add = [&](bool wanted, std::uint8_t key, std::uint32_t mask) {
            if (wanted && (held(key) || !(state.baseModifiers & mask)))
                keys.push_back(key);
        };
        add(flags.cmd || flags.ctrl, modifiers.control, modifiers.controlMask);
        add(flags.alt, modifiers.alt, modifiers.altMask);
        add(flags.shift, modifiers.shift, modifiers.shiftMask);
        return keys;
    }
    /// The chords that programs may read from a key; see KeyboardLayout.
    std::vector<std::vector<std::string>> readings(std::uint8_t keycode, ModifierFlags flags) const;
    /// True while a modifier is down that would turn letters into commands.
    bool holdsCommandModifier() const;
    UsableLevels usableLevels() const;

private:
    bool readState();
    bool readKeymap();

    InputConnection& connection;
    KeymapPtr keymap;
    KeyboardState state;
    ModifierKeys modifiers;
    KeyTable table;
};

} // namespace zelvo
