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

} // namespace
} // namespace zelvo
