#include "overlays/AgentCursorWording.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using AgentCursorWording::chord;

TEST(AgentCursorWording, showsChordsAsSymbols)
{
    EXPECT_EQ(chord({"cmd", "shift", "4"}), "⌘⇧4");
    EXPECT_EQ(chord({"fn", "left"}), "fn ←");
    EXPECT_EQ(chord({}), "");
}

TEST(AgentCursorWording, knowsEveryNameOfAKeyInAnyCase)
{
    EXPECT_EQ(chord({"cmd", "Command"}), "⌘⌘");
    EXPECT_EQ(chord({"alt", "OPTION", "ctrl", "control"}), "⌥⌥⌃⌃");
    EXPECT_EQ(chord({"return", "enter", "tab"}), "↩↩⇥");
    EXPECT_EQ(chord({"delete", "backspace", "space"}), "⌫⌫␣");
    EXPECT_EQ(chord({"up", "down", "left", "right"}), "↑↓←→");
    EXPECT_EQ(chord({"escape", "esc"}), "⎋⎋");
}

TEST(AgentCursorWording, showsOtherKeysInUpperCase)
{
    EXPECT_EQ(chord({"c"}), "C");
    EXPECT_EQ(chord({"f5"}), "F5");
    EXPECT_EQ(chord({"ж"}), "Ж");
}

TEST(AgentCursorWording, showsTheBeginningsOfEightKeys)
{
    EXPECT_EQ(chord({"ctrl", std::string(1'000'000, 'x')}), "⌃" + std::string(40, 'X') + "…");
    EXPECT_EQ(chord(std::vector<std::string>(100'000, "a")), "AAAAAAAA");
    EXPECT_EQ(chord({"\u202E\u202Cc\nm\u2028d"}), "⌘");
    // One character of a million code points.
    std::string marks = "a";
    for (int i = 0; i < 1'000'000; ++i)
        marks += "\u0301";
    EXPECT_LT(chord({marks}).size(), 2000u);
}

} // namespace
} // namespace zelvo
