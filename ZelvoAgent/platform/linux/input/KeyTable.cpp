#include "platform/linux/input/KeyTable.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

namespace zelvo {

namespace {

struct ReleaseState {
    void operator()(xkb_state* state) const noexcept { xkb_state_unref(state); }
};
using StatePtr = std::unique_ptr<xkb_state, ReleaseState>;

/// The key that gives a keysym without modifiers in the first group: the expected one if it does, else the
/// first.
std::optional<std::uint8_t> keyWith(xkb_keymap* keymap, xkb_keysym_t wanted, std::uint8_t expected)
{
    auto const gives = [keymap, wanted](xkb_keycode_t keycode) {
        xkb_keysym_t const* symbols = nullptr;
        int const count = xkb_keymap_key_get_syms_by_level(keymap, keycode, 0, 0, &symbols);
        return count == 1 && symbols[0] == wanted;
    };
    if (gives(expected))
        return expected;
    for (auto keycode = xkb_keymap_min_keycode(keymap); keycode <= xkb_keymap_max_keycode(keymap); ++keycode)
        if (keycode <= 255 && gives(keycode))
            return static_cast<std::uint8_t>(keycode);
    return std::nullopt;
}

/// The real modifiers that holding a key sets; `otherwise` when it sets none.
std::uint32_t maskOf(xkb_keymap* keymap, std::optional<std::uint8_t> keycode, std::uint32_t otherwise)
{
    constexpr std::uint32_t realModifiers = 0xFF;
    if (!keycode)
        return otherwise;
    StatePtr const state(xkb_state_new(keymap));
    xkb_state_update_key(state.get(), *keycode, XKB_KEY_DOWN);
    std::uint32_t const mask =
        xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_DEPRESSED) & realModifiers;
    return mask ? mask : otherwise;
}

bool isKeypad(xkb_keysym_t symbol)
{
    return symbol >= XKB_KEY_KP_Space && symbol <= XKB_KEY_KP_Equal;
}

bool isTypable(std::uint32_t character)
{
    return character >= 0x20 && (character < 0x7F || character >= 0xA0);
}

} // namespace

ModifierKeys ModifierKeys::of(xkb_keymap* keymap)
{
    ModifierKeys keys;
    auto const either = [keymap](xkb_keysym_t left, std::uint8_t expected, xkb_keysym_t right) {
        auto const key = keyWith(keymap, left, expected);
        return key ? key : keyWith(keymap, right, expected);
    };
    keys.control = either(XKB_KEY_Control_L, keys.control, XKB_KEY_Control_R).value_or(keys.control);
    keys.alt = either(XKB_KEY_Alt_L, keys.alt, XKB_KEY_Alt_R).value_or(keys.alt);
    keys.shift = either(XKB_KEY_Shift_L, keys.shift, XKB_KEY_Shift_R).value_or(keys.shift);
    keys.level3 = keyWith(keymap, XKB_KEY_ISO_Level3_Shift, 108);
    keys.controlMask = maskOf(keymap, keys.control, keys.controlMask);
    keys.altMask = maskOf(keymap, keys.alt, keys.altMask);
    keys.shiftMask = maskOf(keymap, keys.shift, keys.shiftMask);
    keys.superMask = maskOf(keymap, either(XKB_KEY_Super_L, 133, XKB_KEY_Super_R), keys.superMask);
    constexpr std::uint32_t capsLock = 0x02;
    keys.lockMasks = capsLock | maskOf(keymap, keyWith(keymap, XKB_KEY_Num_Lock, 77), 0x10) |
                     maskOf(keymap, keyWith(keymap, XKB_KEY_Scroll_Lock, 78), 0);
    return keys;
}

KeyTable::KeyTable(xkb_keymap* keymap, KeyboardState const& state, ModifierKeys const& modifiers)
{
    constexpr std::uint8_t positionOfReturn = 36;
    constexpr std::uint8_t positionOfTab = 23;
    strokes[U'\n'] = {keyWith(keymap, XKB_KEY_Return, positionOfReturn).value_or(positionOfReturn), {}};
    strokes[U'\t'] = {keyWith(keymap, XKB_KEY_Tab, positionOfTab).value_or(positionOfTab), {}};

    addAll(keymap, state, 0, {});
    if (!(state.baseModifiers & modifiers.shiftMask))
        addAll(keymap, state, modifiers.shiftMask, {modifiers.shift});
    if (!modifiers.level3)
        return;
    std::uint32_t const level3Mask = maskOf(keymap, modifiers.level3, 0);
    addAll(keymap, state, level3Mask, {*modifiers.level3});
    addAll(keymap, state, level3Mask | modifiers.shiftMask, {*modifiers.level3, modifiers.shift});
}

void KeyTable::addAll(xkb_keymap* keymap,
                      KeyboardState const& state,
                      std::uint32_t heldMask,
                      std::vector<std::uint8_t> const& held)
{
    StatePtr const trial(xkb_state_new(keymap));
    xkb_state_update_mask(trial.get(), state.baseModifiers | heldMask, state.latchedModifiers,
                          state.lockedModifiers, state.baseGroup, state.latchedGroup, state.lockedGroup);
    for (auto keycode = xkb_keymap_min_keycode(keymap); keycode <= xkb_keymap_max_keycode(keymap);
         ++keycode) {
        xkb_keysym_t const symbol = xkb_state_key_get_one_sym(trial.get(), keycode);
        std::uint32_t const character = isKeypad(symbol) ? 0 : xkb_keysym_to_utf32(symbol);
        if (keycode <= 255 && isTypable(character))
            strokes.try_emplace(character, KeyStroke{static_cast<std::uint8_t>(keycode), held});
    }
}

KeyStroke const* KeyTable::find(char32_t character) const
{
    auto const stroke = strokes.find(character);
    return stroke == strokes.end() ? nullptr : &stroke->second;
}

} // namespace zelvo
