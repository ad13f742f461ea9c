#pragma once

#include <cstdint>
#include <map>
#include <vector>

struct xkb_keymap;

namespace zelvo {

/// What has to be grabbed for Control, Alt, Super and P on a keymap.
struct HotKeyChord {
    /// The keys that type "p", each with the groups in which it is the one. A group without "p", a Cyrillic
    /// one for instance, goes by the other groups' key, and a keymap without any by the position on an ANSI
    /// keyboard.
    std::map<std::uint8_t, std::uint32_t> groupsByKey;
    /// Control, Alt and Super together with every combination of the lock keys.
    std::vector<std::uint32_t> modifierMasks;
    bool operator==(HotKeyChord const&) const = default;

    static HotKeyChord on(xkb_keymap* keymap);
    bool isPressedBy(std::uint8_t keycode, std::uint32_t group) const;
};

} // namespace zelvo
