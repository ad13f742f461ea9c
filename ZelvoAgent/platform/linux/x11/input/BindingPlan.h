#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace zelvo {

/// What a spare key is to type without and with Shift; 0 is nothing.
struct KeyBinding {
    std::uint8_t keycode = 0;
    char32_t plain = 0;
    char32_t shifted = 0;
    bool operator==(KeyBinding const&) const = default;
};

/// The keys that may be bound: first those that mean nothing in the layout, then those that rarely mean
/// something.
struct SpareKeys {
    std::vector<std::uint8_t> empty;
    std::vector<std::uint8_t> rarelyUsed;
};

/// Whether both levels of a key can be reached. With Shift held down by somebody else only one can, so a
/// character then stands on both.
enum class UsableLevels { two, one };

/// Chooses bindings for as much of the text's beginning as the keys have room for.
/// upcoming   the text that is still to be typed
/// onLayout   whether a character has a key without our help
/// Gives      no binding when every character is on the layout or there is no key to bind
std::vector<KeyBinding> planBindings(std::u32string_view upcoming,
                                     std::function<bool(char32_t)> const& onLayout,
                                     SpareKeys const& spare,
                                     UsableLevels levels = UsableLevels::two);

} // namespace zelvo
