#include "platform/linux/x11/input/HotKeyChord.h"

#include "platform/linux/input/KeyPositions.h"
#include "platform/linux/input/KeyTable.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <set>

namespace zelvo {

namespace {

constexpr std::uint32_t groupCount = 4;
// Letters stand on these keys; a "p" elsewhere is one that was lent to it while text is typed.
constexpr std::uint8_t firstLetterKey = 24;
constexpr std::uint8_t lastLetterKey = 61;

std::set<std::uint8_t> keysOfP(xkb_keymap* keymap, std::uint32_t group)
{
    std::set<std::uint8_t> keys;
    for (std::uint8_t keycode = firstLetterKey; keycode <= lastLetterKey; ++keycode) {
        xkb_keysym_t const* symbols = nullptr;
        int const count = group < xkb_keymap_num_layouts_for_key(keymap, keycode)
                              ? xkb_keymap_key_get_syms_by_level(keymap, keycode, group, 0, &symbols)
                              : 0;
        if (count == 1 && symbols[0] == XKB_KEY_p)
            keys.insert(keycode);
    }
    return keys;
}

/// Every sum of some of the mask's bits.
std::vector<std::uint32_t> subsetsOf(std::uint32_t mask)
{
    std::vector<std::uint32_t> subsets;
    std::uint32_t subset = 0;
    do {
        subsets.push_back(subset);
        subset = (subset - mask) & mask;
    } while (subset != 0);
    return subsets;
}

} // namespace

HotKeyChord HotKeyChord::on(xkb_keymap* keymap)
{
    std::vector<std::set<std::uint8_t>> keys;
    std::set<std::uint8_t> elsewhere;
    for (std::uint32_t group = 0; group < groupCount; ++group) {
        keys.push_back(keysOfP(keymap, group));
        if (elsewhere.empty())
            elsewhere = keys.back();
    }
    if (elsewhere.empty())
        elsewhere.insert(keycodeOfP);

    HotKeyChord chord;
    for (std::uint32_t group = 0; group < groupCount; ++group)
        for (std::uint8_t const key : keys[group].empty() ? elsewhere : keys[group])
            chord.groupsByKey[key] |= 1U << group;
    ModifierKeys const modifiers = ModifierKeys::of(keymap);
    std::uint32_t const held = modifiers.controlMask | modifiers.altMask | modifiers.superMask;
    for (std::uint32_t const locks : subsetsOf(modifiers.lockMasks & ~held))
        chord.modifierMasks.push_back(held | locks);
    return chord;
}

bool HotKeyChord::isPressedBy(std::uint8_t keycode, std::uint32_t group) const
{
    auto const key = groupsByKey.find(keycode);
    return key != groupsByKey.end() && (key->second >> group & 1) != 0;
}

} // namespace zelvo
