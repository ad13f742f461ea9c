#include "platform/linux/x11/input/KeySymbols.h"

#include <algorithm>
#include <cstring>

namespace zelvo {

namespace {

constexpr std::size_t headBytes = 8;
constexpr std::size_t symbolBytes = 4;
/// The type of letters, which every keymap has third: Shift and Caps Lock each choose the second symbol, and
/// both together the first. Caps Lock is thereby used up, so that no client turns small letters into capitals
/// by itself.
constexpr std::uint8_t alphabeticType = 2;

template <class T>
T valueAt(std::span<std::uint8_t const> bytes, std::size_t at)
{
    T value{};
    std::memcpy(&value, bytes.data() + at, sizeof value); // The connection speaks this machine's byte order.
    return value;
}

template <class T>
void append(std::vector<std::uint8_t>& bytes, T value)
{
    auto const* raw = reinterpret_cast<std::uint8_t const*>(&value);
    bytes.insert(bytes.end(), raw, raw + sizeof value);
}

} // namespace

bool KeySymbols::isEmpty() const
{
    return std::ranges::all_of(symbols, [](std::uint32_t symbol) { return symbol == 0; });
}

KeySymbols KeySymbols::typing(char32_t plain, char32_t shifted)
{
    return {.types = {alphabeticType, 0, 0, 0},
            .groups = 1,
            .width = 2,
            .symbols = {keysymOf(plain), keysymOf(shifted)}};
}

std::uint32_t keysymOf(char32_t character)
{
    constexpr std::uint32_t unicode = 0x01000000;
    return character < 0x100 ? character : unicode | character;
}

std::optional<std::vector<KeySymbols>> readKeySymbols(std::span<std::uint8_t const> bytes, std::size_t count)
{
    std::vector<KeySymbols> keys;
    for (std::size_t at = 0; keys.size() < count;) {
        if (bytes.size() - at < headBytes)
            return std::nullopt;
        KeySymbols key{.types = {bytes[at], bytes[at + 1], bytes[at + 2], bytes[at + 3]},
                       .groups = bytes[at + 4],
                       .width = bytes[at + 5]};
        auto const symbols = valueAt<std::uint16_t>(bytes, at + 6);
        at += headBytes;
        if ((bytes.size() - at) / symbolBytes < symbols)
            return std::nullopt;
        for (std::uint16_t symbol = 0; symbol < symbols; ++symbol, at += symbolBytes)
            key.symbols.push_back(valueAt<std::uint32_t>(bytes, at));
        keys.push_back(std::move(key));
    }
    return keys;
}

std::vector<std::uint8_t> writeKeySymbols(std::span<KeySymbols const> keys)
{
    std::vector<std::uint8_t> bytes;
    for (KeySymbols const& key : keys) {
        bytes.insert(bytes.end(), key.types.begin(), key.types.end());
        bytes.push_back(key.groups);
        bytes.push_back(key.width);
        append(bytes, static_cast<std::uint16_t>(key.symbols.size()));
        for (std::uint32_t const symbol : key.symbols)
            append(bytes, symbol);
    }
    return bytes;
}

} // namespace zelvo
