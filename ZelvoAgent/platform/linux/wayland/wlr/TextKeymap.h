#pragma once

#include "platform/linux/wayland/client/SeatLayout.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// A keymap made for a text, and the keys that type it. Its symbols are called `textKeymapName`, so that
/// nobody takes it for the person's layout.
struct TextKeymap {
    std::string keymap;    ///< for xkb_keymap_new_from_string
    std::vector<int> keys; ///< the kernel's numbers, one a character
};

/// Keymaps that type the text one after the other. Line ends are Return and tabs are Tab. `nullopt` if it is
/// not UTF-8 or has a character that no key makes: another control character, a noncharacter.
std::optional<std::vector<TextKeymap>> keymapsFor(std::string_view text);

} // namespace zelvo
