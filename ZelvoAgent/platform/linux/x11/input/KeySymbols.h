#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelvo {

/// What one key types: its row of the server's keymap.
struct KeySymbols {
    std::array<std::uint8_t, 4> types{}; ///< a key type for each group
    std::uint8_t groups = 0; ///< the number of groups, and in the high bits what happens beyond them
    std::uint8_t width = 0;  ///< symbols a group
    std::vector<std::uint32_t> symbols; ///< keysyms, group by group
    bool operator==(KeySymbols const&) const = default;

    /// True when the key types nothing at all.
    bool isEmpty() const;
    /// A key that types one character plain and one with Shift, in every group and whether or not Caps Lock
    /// is on.
    static KeySymbols typing(char32_t plain, char32_t shifted);
};

/// The keysym of a character: Latin-1 has its own, all others are numbered by code point.
std::uint32_t keysymOf(char32_t character);

/// Keys as they stand on the wire of the X keyboard extension, one behind the other, and back.
/// Gives nothing when the bytes do not hold `count` keys.
std::optional<std::vector<KeySymbols>> readKeySymbols(std::span<std::uint8_t const> bytes, std::size_t count);
std::vector<std::uint8_t> writeKeySymbols(std::span<KeySymbols const> keys);

} // namespace zelvo
