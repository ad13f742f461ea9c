#include "drivers/KeyCodes.h"

#include <algorithm>
#include <array>

namespace zelvo::KeyCodes {

namespace {

struct Row {
    std::string_view name;
    std::uint16_t code;
};

// "return" and "enter" are both the main Return key; "delete" and "backspace" are both the key above it.
constexpr std::array rows = std::to_array<Row>({
    {"a", 0},
    {"s", 1},
    {"d", 2},
    {"f", 3},
    {"h", 4},
    {"g", 5},
    {"z", 6},
    {"x", 7},
    {"c", 8},
    {"v", 9},
    {"b", 11},
    {"q", 12},
    {"w", 13},
    {"e", 14},
    {"r", 15},
    {"y", 16},
    {"t", 17},
    {"o", 31},
    {"u", 32},
    {"i", 34},
    {"p", 35},
    {"l", 37},
    {"j", 38},
    {"k", 40},
    {"n", 45},
    {"m", 46},
    {"1", 18},
    {"2", 19},
    {"3", 20},
    {"4", 21},
    {"6", 22},
    {"5", 23},
    {"9", 25},
    {"7", 26},
    {"8", 28},
    {"0", 29},
    {"equal", 24},
    {"minus", 27},
    {"rightbracket", 30},
    {"leftbracket", 33},
    {"quote", 39},
    {"semicolon", 41},
    {"backslash", 42},
    {"comma", 43},
    {"slash", 44},
    {"period", 47},
    {"grave", 50},
    {"return", 36},
    {"enter", 36},
    {"tab", 48},
    {"space", 49},
    {"delete", 51},
    {"backspace", 51},
    {"escape", 53},
    {"esc", 53},
    {"forwarddelete", 117},
    {"home", 115},
    {"end", 119},
    {"pageup", 116},
    {"pagedown", 121},
    {"left", 123},
    {"right", 124},
    {"down", 125},
    {"up", 126},
    {"f1", 122},
    {"f2", 120},
    {"f3", 99},
    {"f4", 118},
    {"f5", 96},
    {"f6", 97},
    {"f7", 98},
    {"f8", 100},
    {"f9", 101},
    {"f10", 109},
    {"f11", 103},
    {"f12", 111},
});

} // namespace

std::optional<std::uint16_t> code(std::string_view name)
{
    auto const* const row = std::ranges::find_if(rows, [&](Row const& each) { return each.name == name; });
    if (row == rows.end())
        return std::nullopt;
    return row->code;
}

std::size_t count()
{
    return rows.size();
}

} // namespace zelvo::KeyCodes
