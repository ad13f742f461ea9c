#include "overlays/AgentCursorWording.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <string_view>
#include <utility>

namespace zelvo::AgentCursorWording {

namespace {

constexpr auto symbols = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"cmd", "⌘"},  {"command", "⌘"}, {"shift", "⇧"}, {"alt", "⌥"},    {"option", "⌥"},
    {"ctrl", "⌃"}, {"control", "⌃"}, {"fn", "fn "},  {"return", "↩"}, {"enter", "↩"},
    {"tab", "⇥"},  {"delete", "⌫"},  {"space", "␣"}, {"up", "↑"},     {"down", "↓"},
    {"left", "←"}, {"right", "→"},   {"esc", "⎋"},   {"escape", "⎋"}, {"backspace", "⌫"},
});

constexpr std::size_t maxKeys = 8;
constexpr std::size_t maxKeyLength = 40;
constexpr std::size_t maxKeyBytes = 1000; // One character may have any number of code points.

std::string shown(std::string_view sent)
{
    std::string const key = text::shownInLine(text::prefixOfBytes(sent, maxKeyBytes), maxKeyLength);
    std::string const name = text::lowercased(key);
    auto const* const found = std::ranges::find(symbols, name, [](auto const& row) { return row.first; });
    return found == symbols.end() ? text::uppercased(key) : std::string(found->second);
}

} // namespace

std::string chord(std::vector<std::string> const& keys)
{
    std::string joined;
    for (std::string const& key : keys | std::views::take(maxKeys))
        joined += shown(key);
    return joined;
}

} // namespace zelvo::AgentCursorWording
