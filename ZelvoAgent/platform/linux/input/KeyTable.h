#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

struct xkb_keymap;

namespace zelvo {

/// What the keyboard's modifiers and groups stand at, by bits and indices of the X server.
struct KeyboardState {
    std::uint32_t baseModifiers = 0; ///< held down, by whomever
    std::uint32_t latchedModifiers = 0;
    std::uint32_t lockedModifiers = 0; ///< Caps Lock, Num Lock
    std::uint32_t baseGroup = 0;
    std::uint32_t latchedGroup = 0;
    std::uint32_t lockedGroup = 0;
    bool operator==(KeyboardState const&) const = default;
};

/// One key with the modifier keys that must be down meanwhile.
struct KeyStroke {
    std::uint8_t keycode = 0;
    std::vector<std::uint8_t> modifiers; ///< in the order of pressing
    bool operator==(KeyStroke const&) const = default;
};

/// The modifier keys of a keymap, found by what they do.
struct ModifierKeys {
    std::uint8_t control = 37;
    std::uint8_t alt = 64;
    std::uint8_t shift = 50;
    std::optional<std::uint8_t> level3; ///< AltGr, where the layout has it
    std::uint32_t controlMask = 0x04;
    std::uint32_t altMask = 0x08;
    std::uint32_t shiftMask = 0x01;
    std::uint32_t superMask = 0x40;
    std::uint32_t lockMasks = 0x12; ///< Caps Lock, Num Lock, and Scroll Lock where it is a modifier

    static ModifierKeys of(xkb_keymap* keymap);
};

/// How each character is typed on a keymap in a given state of its locks and groups: found by trying every
/// key, so that Caps Lock, Num Lock, the active group and bound keys need no rules of their own.
class KeyTable {
public:
    KeyTable() = default;
    KeyTable(xkb_keymap* keymap, KeyboardState const& state, ModifierKeys const& modifiers);

    /// Nothing for a character that no key types. '\n' is Return, '\t' is Tab.
    KeyStroke const* find(char32_t character) const;

private:
    void addAll(xkb_keymap* keymap,
                KeyboardState const& state,
                std::uint32_t heldMask,
                std::vector<std::uint8_t> const& held);

    std::unordered_map<char32_t, KeyStroke> strokes;
};

} // namespace zelvo
