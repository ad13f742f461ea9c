#include "ZelvoGateway/mcp/tools/KeyNames.h"

#include "ZelvoGateway/mcp/ToolFailure.h"

#include <gtest/gtest.h>

#include <map>

namespace zelvo::service {
namespace {

using records::MachineOS;

/// "ctrl s", or why not.
std::string keys(std::string_view chord, MachineOS os = MachineOS::linux)
{
    std::string text;
    try {
        for (std::string const& key : chordKeys(chord, os))
            text += (text.empty() ? "" : " ") + key;
    } catch (ToolFailure const& failure) {
        return failure.what;
    }
    return text;
}

TEST(KeyNames, areThoseOfTheMachine)
{
    std::map<std::string, std::string> const table{{"Return", "return"},
                                                   {"KP_Enter", "enter"},
                                                   {"ENTER", "return"},
                                                   {"BackSpace", "delete"},
                                                   {"Delete", "forwarddelete"},
                                                   {"Page_Down", "pagedown"},
                                                   {"Prior", "pageup"},
                                                   {"ARROWLEFT", "left"},
                                                   {"F12", "f12"},
                                                   {"ESC", "escape"},
                                                   {"space", "space"},
                                                   {"a", "a"},
                                                   {"A", "shift a"},
                                                   {"7", "7"},
                                                   {"KP_7", "7"},
                                                   {"ctrl+s", "ctrl s"},
                                                   {"Control_L+Shift_L+T", "ctrl shift t"},
                                                   {"alt+Tab", "alt tab"},
                                                   {"ctrl+A", "ctrl a"},
                                                   {"ctrl+plus", "ctrl shift equal"},
                                                   {"ctrl++", "ctrl shift equal"},
                                                   {"+", "shift equal"},
                                                   {"ctrl+-", "ctrl minus"},
                                                   {"ctrl+minus", "ctrl minus"},
                                                   {"s+ctrl", "ctrl s"},
                                                   {"question", "shift slash"},
                                                   {"shift+exclam", "shift 1"},
                                                   {"cmd+c", "cmd c"}};

    for (auto const& [chord, wanted] : table)
        EXPECT_EQ(keys(chord), wanted) << chord;
}

TEST(KeyNames, areRefusedWhereTheMachineHasNone)
{
    EXPECT_EQ(keys("super+l"), "This computer has no way to press the key \"super\"");
    EXPECT_EQ(keys("super+l", MachineOS::macos), "cmd l");
    EXPECT_EQ(keys("XF86AudioPlay"), "The key \"XF86AudioPlay\" is unknown");
    EXPECT_EQ(keys("F13"), "The key \"F13\" is unknown");
    EXPECT_EQ(keys("\xc3\xa9"), "The key \"\xc3\xa9\" is unknown");
    EXPECT_EQ(keys("alt"), "A chord needs a key other than modifiers");
    EXPECT_EQ(keys(""), "A chord needs a key other than modifiers");
    EXPECT_EQ(keys("a+b"), "A chord has one key other than modifiers; press several one after the other");
}

TEST(KeyNames, ofModifiersAlone)
{
    EXPECT_EQ(modifierKeys({"SHIFT", "Control_L"}, MachineOS::linux),
              (std::vector<std::string>{"shift", "ctrl"}));
    EXPECT_TRUE(modifierKeys({}, MachineOS::linux).empty());
    EXPECT_THROW(modifierKeys({"a"}, MachineOS::linux), ToolFailure);
}

} // namespace
} // namespace zelvo::service
