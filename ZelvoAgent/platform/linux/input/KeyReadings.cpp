#include "platform/linux/input/KeyReadings.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <utility>

namespace zelvo {

namespace {

using Chord = std::vector<std::string>;

constexpr auto names = std::to_array<std::pair<xkb_keysym_t, char const*>>({
    {XKB_KEY_Return, "return"},
    {XKB_KEY_KP_Enter, "return"},
    {XKB_KEY_ISO_Enter, "return"},
    {XKB_KEY_3270_Enter, "return"},
    {XKB_KEY_Linefeed, "return"},
    {XKB_KEY_space, "space"},
    {XKB_KEY_KP_Space, "space"},
    {XKB_KEY_BackSpace, "delete"},
    {XKB_KEY_Delete, "forwarddelete"},
    {XKB_KEY_KP_Delete, "forwarddelete"},
    {XKB_KEY_Escape, "escape"},
    {XKB_KEY_Tab, "tab"},
    {XKB_KEY_ISO_Left_Tab, "tab"},
    {XKB_KEY_equal, "equal"},
    {XKB_KEY_minus, "minus"},
    {XKB_KEY_bracketleft, "leftbracket"},
    {XKB_KEY_bracketright, "rightbracket"},
    {XKB_KEY_apostrophe, "quote"},
    {XKB_KEY_semicolon, "semicolon"},
    {XKB_KEY_backslash, "backslash"},
    {XKB_KEY_comma, "comma"},
    {XKB_KEY_period, "period"},
    {XKB_KEY_slash, "slash"},
    {XKB_KEY_grave, "grave"},
});

std::optional<std::string> nameOf(xkb_keysym_t symbol)
{
    bool const isLetter = symbol >= XKB_KEY_a && symbol <= XKB_KEY_z;
    bool const isDigit = symbol >= XKB_KEY_0 && symbol <= XKB_KEY_9;
    if (isLetter || isDigit) // These symbols have their ASCII codes.
        return std::string(1, static_cast<char>(symbol));
    auto const* const row = std::ranges::find(names, symbol, &decltype(names)::value_type::first);
    return row == names.end() ? std::nullopt : std::optional<std::string>(row->second);
}

struct ReleaseState {
    void operator()(xkb_state* state) const noexcept { xkb_state_unref(state); }
};

/// What a key gives, in lower case.
xkb_keysym_t symbolOf(xkb_keymap* keymap, std::uint8_t keycode, std::uint32_t mask, std::uint32_t group)
{
    std::unique_ptr<xkb_state, ReleaseState> const trial(xkb_state_new(keymap));
    xkb_state_update_mask(trial.get(), mask, 0, 0, 0, 0, group);
    return xkb_keysym_to_lower(xkb_state_key_get_one_sym(trial.get(), keycode));
}

/// The groups of the keymap, the active one first.
std::vector<std::uint32_t> groupsOf(xkb_keymap* keymap, KeyboardState const& state)
{
    std::uint32_t const count = std::max<std::uint32_t>(xkb_keymap_num_layouts(keymap), 1);
    std::uint32_t const active = (state.baseGroup + state.latchedGroup + state.lockedGroup) % count;
    std::vector<std::uint32_t> groups = {active};
    for (std::uint32_t group = 0; group < count; ++group)
        if (group != active)
            groups.push_back(group);
    return groups;
}

class Readings {
public:
    explicit Readings(ModifierFlags flags) : flags(flags) {}

    void add(xkb_keysym_t symbol, bool shift)
    {
        auto const name = nameOf(symbol);
        if (!name)
            return;
        Chord chord;
        for (auto const& [isHeld, modifier] : {std::pair(flags.cmd || flags.ctrl, "cmd"),
                                               std::pair(flags.alt, "alt"), std::pair(shift, "shift")})
            if (isHeld)
                chord.emplace_back(modifier);
        chord.push_back(*name);
        if (std::ranges::find(chords, chord) == chords.end())
            chords.push_back(std::move(chord));
    }

    std::vector<Chord> chords;

private:
    ModifierFlags flags;
};

} // namespace

std::vector<Chord> readingsOf(xkb_keymap* keymap,
                              KeyboardState const& state,
                              ModifierKeys const& modifiers,
                              std::uint8_t keycode,
                              ModifierFlags flags)
{
    std::uint32_t const held =
        (flags.cmd || flags.ctrl ? modifiers.controlMask : 0) | (flags.alt ? modifiers.altMask : 0);
    std::uint32_t const present = state.baseModifiers | state.latchedModifiers | state.lockedModifiers;
    Readings readings(flags);
    for (std::uint32_t const group : groupsOf(keymap, state)) {
        for (std::uint32_t const locks : {present, std::uint32_t{0}}) {
            xkb_keysym_t const plain = symbolOf(keymap, keycode, held | locks, group);
            readings.add(plain, flags.shift);
            if (!flags.shift)
                continue;
            xkb_keysym_t const shifted = symbolOf(keymap, keycode, held | locks | modifiers.shiftMask, group);
            if (shifted == plain)
                continue;
            readings.add(shifted, true);
            readings.add(shifted, false);
        }
    }
    return readings.chords;
}

} // namespace zelvo
