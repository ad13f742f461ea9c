#include "drivers/KeyCodes.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace zelvo {
namespace {

std::map<std::string, int> const table = {
    // Letters.
    {"a", 0},
    {"b", 11},
    {"c", 8},
    {"d", 2},
    {"e", 14},
    {"f", 3},
    {"g", 5},
    {"h", 4},
    {"i", 34},
    {"j", 38},
    {"k", 40},
    {"l", 37},
    {"m", 46},
    {"n", 45},
    {"o", 31},
    {"p", 35},
    {"q", 12},
    {"r", 15},
    {"s", 1},
    {"t", 17},
    {"u", 32},
    {"v", 9},
    {"w", 13},
    {"x", 7},
    {"y", 16},
    {"z", 6},
    // Digits.
    {"0", 29},
    {"1", 18},
    {"2", 19},
    {"3", 20},
    {"4", 21},
    {"5", 23},
    {"6", 22},
    {"7", 26},
    {"8", 28},
    {"9", 25},
    // Symbols.
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
    // Editing and moving.
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
    // Function keys.
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
};

TEST(KeyCodes, followsTheTable)
{
    for (auto const& [name, code] : table)
        EXPECT_EQ(KeyCodes::code(name), code) << name;
}

TEST(KeyCodes, knowsSeventySixNamesAndNoMore)
{
    EXPECT_EQ(table.size(), 76u);
    EXPECT_EQ(KeyCodes::count(), 76u);
}

TEST(KeyCodes, doesNotChangeTheCaseOfAName)
{
    EXPECT_FALSE(KeyCodes::code("A"));
    EXPECT_FALSE(KeyCodes::code("Return"));
}

TEST(KeyCodes, knowsSymbolKeysByNameOnly)
{
    for (std::string const name : {"=", "-", "/", ".", ",", "`", "[", "]", "\\", ";", "'"})
        EXPECT_FALSE(KeyCodes::code(name)) << name;
}

TEST(KeyCodes, knowsNoModifierAndNoOtherText)
{
    for (std::string const name : {"", " ", "cmd", "shift", "alt", "ctrl", "fn", "f13", "nosuchkey", "é"})
        EXPECT_FALSE(KeyCodes::code(name)) << name;
}

} // namespace
} // namespace zelvo
