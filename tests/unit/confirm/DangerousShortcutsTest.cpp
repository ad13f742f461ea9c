#include "confirm/DangerousShortcuts.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using DangerousShortcuts::activatesFocusedControl;
using DangerousShortcuts::activatingKey;
using DangerousShortcuts::Match;
using DangerousShortcuts::match;
using DangerousShortcuts::meaning;
using DangerousShortcuts::normalize;

using Keys = std::vector<std::string>;

constexpr char const* anyApp = "org.example.any";

TEST(DangerousShortcuts, haveOneSpelling)
{
    EXPECT_EQ(normalize({"Shift", "Command", "D"}), "cmd+shift+d");
    EXPECT_EQ(normalize({"ENTER"}), "return");
    EXPECT_EQ(normalize({"cmd", "backspace"}), "cmd+delete");
    EXPECT_EQ(normalize({}), "");
    EXPECT_EQ(normalize({" S ", "\tcmd\n"}), "cmd+s");
}

TEST(DangerousShortcuts, knowEverySynonym)
{
    std::vector<std::pair<char const*, char const*>> const synonyms = {
        {"enter", "return"}, {"esc", "escape"},  {"backspace", "delete"}, {"del", "delete"},
        {"option", "alt"},   {"opt", "alt"},     {"command", "cmd"},      {"control", "ctrl"},
        {"meta", "cmd"},     {"space", "space"}, {"spacebar", "space"}};
    for (auto const& [spelling, canonical] : synonyms)
        EXPECT_EQ(normalize({spelling}), canonical);
}

TEST(DangerousShortcuts, nameAModifierOnceAndAKeyAsOftenAsItIsGiven)
{
    EXPECT_EQ(normalize({"cmd", "cmd", "s"}), "cmd+s");
    EXPECT_EQ(normalize({"s", "s"}), "s+s");
    EXPECT_EQ(normalize({"command", "meta", "s"}), "cmd+s");
}

TEST(DangerousShortcuts, putTheModifiersInOrder)
{
    EXPECT_EQ(normalize({"ctrl", "cmd", "alt", "shift", "x"}), "cmd+ctrl+alt+shift+x");
    EXPECT_EQ(normalize({"x", "fn", "shift"}), "shift+x+fn");
}

TEST(DangerousShortcuts, meanNothingWithoutAKey)
{
    EXPECT_EQ(normalize({"  ", ""}), "");
    EXPECT_EQ(meaning({"  ", ""}, anyApp), std::nullopt);
    EXPECT_EQ(meaning({}, std::nullopt), std::nullopt);
}

TEST(DangerousShortcuts, saveInAnyApplication)
{
    EXPECT_EQ(meaning({"cmd", "s"}, std::nullopt), localized("shortcut.save"));
    EXPECT_EQ(meaning({"cmd", "s"}, anyApp), localized("shortcut.save"));
    EXPECT_EQ(meaning({"cmd", "shift", "s"}, anyApp), std::nullopt);
}

TEST(DangerousShortcuts, sendAMessageInAMessenger)
{
    for (char const* const app :
         {"com.apple.MobileSMS", "com.tinyspeck.slackmacgap", "ru.keepcoder.Telegram", "com.telegram.desktop",
          "com.hnc.Discord", "net.whatsapp.WhatsApp", "com.microsoft.teams2", "com.apple.iChat",
          "COM.HNC.DISCORD", "org.telegram.desktop", "slack", "Signal-Desktop"})
        EXPECT_EQ(meaning({"return"}, app), localized("shortcut.sendMessage")) << app;
}

TEST(DangerousShortcuts, activateTheFocusedControlElsewhere)
{
    EXPECT_EQ(meaning({"return"}, "com.apple.Safari"), std::nullopt);
    EXPECT_EQ(meaning({"return"}, std::nullopt), std::nullopt);
    EXPECT_TRUE(activatesFocusedControl({"return"}));
}

TEST(DangerousShortcuts, takeEnterForReturn)
{
    EXPECT_EQ(meaning({"enter"}, "com.hnc.Discord"), localized("shortcut.sendMessage"));
    EXPECT_TRUE(activatesFocusedControl({"enter"}));
    EXPECT_TRUE(activatesFocusedControl({"spacebar"}));
    EXPECT_TRUE(activatesFocusedControl({"SPACE"}));
}

TEST(DangerousShortcuts, activateNothingWithAModifier)
{
    for (char const* const modifier : {"cmd", "ctrl", "alt", "shift"})
        EXPECT_FALSE(activatesFocusedControl({modifier, "return"})) << modifier;
    EXPECT_FALSE(activatesFocusedControl({"a"}));
    EXPECT_FALSE(activatesFocusedControl({}));
}

TEST(DangerousShortcuts, sendMailOnlyInAMailProgram)
{
    Keys const keys = {"cmd", "shift", "d"};
    EXPECT_EQ(meaning(keys, "com.apple.mail"), localized("shortcut.sendMail"));
    EXPECT_EQ(meaning(keys, "org.mozilla.Thunderbird"), localized("shortcut.sendMail"));
    EXPECT_EQ(meaning(keys, anyApp), std::nullopt);
    EXPECT_EQ(meaning(keys, std::nullopt), std::nullopt);
}

TEST(DangerousShortcuts, emptyTheTrash)
{
    EXPECT_EQ(meaning({"cmd", "shift", "backspace"}, anyApp), localized("shortcut.emptyTrash"));
    EXPECT_EQ(meaning({"shift", "cmd", "del"}, std::nullopt), localized("shortcut.emptyTrash"));
}

TEST(DangerousShortcuts, sendAndMoveToTheTrashAnywhere)
{
    EXPECT_EQ(meaning({"cmd", "return"}, anyApp), localized("shortcut.send"));
    EXPECT_EQ(meaning({"cmd", "enter"}, std::nullopt), localized("shortcut.send"));
    EXPECT_EQ(meaning({"cmd", "delete"}, anyApp), localized("shortcut.moveToTrash"));
}

// On this system "cmd" and "ctrl" are the same key, "fn" has no key, and only the last of several keys is
// pressed.

TEST(DangerousShortcuts, areTheSameHoweverControlIsNamed)
{
    for (Keys const& keys : {Keys{"ctrl", "s"}, Keys{"control", "s"}, Keys{"ctrl", "cmd", "s"},
                             Keys{"s", "ctrl"}, Keys{"CTRL", " S"}, Keys{"meta", "ctrl", "ctrl", "s"}})
        EXPECT_EQ(meaning(keys, anyApp), localized("shortcut.save")) << normalize(keys);
    EXPECT_EQ(meaning({"ctrl", "return"}, anyApp), localized("shortcut.send"));
    EXPECT_EQ(meaning({"ctrl", "shift", "delete"}, anyApp), localized("shortcut.emptyTrash"));
    EXPECT_EQ(meaning({"ctrl", "shift", "d"}, "thunderbird"), localized("shortcut.sendMail"));
}

TEST(DangerousShortcuts, areSeenThroughKeysThatAreNotPressed)
{
    EXPECT_EQ(meaning({"cmd", "fn", "s"}, anyApp), localized("shortcut.save"));
    EXPECT_EQ(meaning({"cmd", "x", "s"}, anyApp), localized("shortcut.save"));
    EXPECT_EQ(meaning({"s", "cmd", "x"}, anyApp), std::nullopt);
    EXPECT_EQ(meaning({"fn", "return"}, "discord"), localized("shortcut.sendMessage"));
    EXPECT_TRUE(activatesFocusedControl({"fn", "return"}));
    EXPECT_TRUE(activatesFocusedControl({"x", "space"}));
    EXPECT_FALSE(activatesFocusedControl({"return", "x"}));
    EXPECT_FALSE(activatesFocusedControl({"fn", "shift", "return"}));
}

// The input driver ignores an unknown name if another key follows.
TEST(DangerousShortcuts, areSeenThroughNamesThatPressNothing)
{
    for (Keys const& keys : {Keys{"cmd", "option", "s"}, Keys{"cmd", " alt ", "s"},
                             Keys{"ctrl", "shift ", "s"}, Keys{"opt", "ctrl", "s"}})
        EXPECT_EQ(meaning(keys, anyApp), localized("shortcut.save")) << normalize(keys);
    EXPECT_EQ(meaning({"option", "return"}, "discord"), localized("shortcut.sendMessage"));
    EXPECT_EQ(meaning({"opt", "forwarddelete"}, "thunar"), localized("shortcut.moveToTrash"));
    for (Keys const& keys : {Keys{"option", "return"}, Keys{"opt", "space"}, Keys{"shift ", "enter"},
                             Keys{"command", "return"}, Keys{"control", "space"}})
        EXPECT_TRUE(activatesFocusedControl(keys)) << normalize(keys);
    EXPECT_FALSE(activatesFocusedControl({"alt", "return"}));
}

TEST(DangerousShortcuts, areLookedUpAsSentFirst)
{
    EXPECT_EQ(meaning({"cmd", "alt", "s"}, anyApp), std::nullopt);
    EXPECT_EQ(meaning({"alt", "shift", "ctrl", "return"}, anyApp), std::nullopt);
}

TEST(DangerousShortcuts, throwFilesAwayInAFileManager)
{
    EXPECT_EQ(meaning({"forwarddelete"}, "org.gnome.Nautilus"), localized("shortcut.moveToTrash"));
    EXPECT_EQ(meaning({"shift", "ForwardDelete"}, "thunar"), localized("shortcut.deleteForGood"));
    EXPECT_EQ(meaning({"forwarddelete"}, anyApp), std::nullopt);
    EXPECT_EQ(meaning({"shift", "forwarddelete"}, std::nullopt), std::nullopt);
    EXPECT_EQ(meaning({"fn", "x", "forwarddelete"}, "ORG.KDE.DOLPHIN"), localized("shortcut.moveToTrash"));
}

// Key names are positions: on dvorak "semicolon" gives S and "s" gives O.

TEST(DangerousShortcuts, areFoundByWhatTheLayoutGives)
{
    EXPECT_EQ(match({"ctrl", "semicolon"}, anyApp, {{"cmd", "s"}}),
              (Match{"cmd+s", localized("shortcut.save")}));
    EXPECT_EQ(match({"semicolon"}, "discord", {{"return"}}),
              (Match{"return", localized("shortcut.sendMessage")}));
    EXPECT_EQ(match({"ctrl", "semicolon"}, anyApp, {{"cmd", "semicolon"}, {"cmd", "s"}}),
              (Match{"cmd+s", localized("shortcut.save")}));
    EXPECT_EQ(match({"ctrl", "semicolon"}, anyApp, {{"cmd", "semicolon"}}), std::nullopt);
    EXPECT_EQ(match({"ctrl", "semicolon"}, anyApp, {}), std::nullopt);
}

TEST(DangerousShortcuts, areNamedAsTheyWillBePressed)
{
    EXPECT_EQ(match({"ctrl", "s"}, anyApp, {{"cmd", "return"}}),
              (Match{"cmd+return", localized("shortcut.send")}));
}

TEST(DangerousShortcuts, areStillFoundAsTheyWereSent)
{
    EXPECT_EQ(match({"ctrl", "s"}, anyApp, {{"cmd", "o"}}), (Match{"ctrl+s", localized("shortcut.save")}));
    EXPECT_EQ(match({"ctrl", "s"}, anyApp, {{"cmd", "s"}}), (Match{"ctrl+s", localized("shortcut.save")}));
    EXPECT_EQ(match({"cmd", "alt", "s"}, anyApp, {{"cmd", "alt", "s"}}), std::nullopt);
}

TEST(DangerousShortcuts, activateTheFocusedControlByAnotherKeyOfTheLayout)
{
    EXPECT_TRUE(activatesFocusedControl({"semicolon"}, {{"return"}}));
    EXPECT_TRUE(activatesFocusedControl({"x"}, {{"x"}, {"space"}}));
    EXPECT_FALSE(activatesFocusedControl({"x"}, {{"x"}, {"shift", "space"}}));
}

TEST(DangerousShortcuts, knowTheActivatingKeyUnderAnyModifiers)
{
    for (Keys const& keys :
         {Keys{"return"}, Keys{"enter"}, Keys{"cmd", "shift", "Return"}, Keys{"alt", "ENTER"},
          Keys{"fn", "ctrl", "enter"}, Keys{"command", "return"}, Keys{"x", "return"}})
        EXPECT_EQ(activatingKey(keys, {}), "return") << normalize(keys);
    for (Keys const& keys : {Keys{"space"}, Keys{"shift", "space"}, Keys{"alt", "ctrl", "space"}})
        EXPECT_EQ(activatingKey(keys, {}), "space") << normalize(keys);
    EXPECT_EQ(activatingKey({"shift", "semicolon"}, {{"shift", "return"}}), "return");
    EXPECT_EQ(activatingKey({"return", "x"}, {}), std::nullopt);
    EXPECT_EQ(activatingKey({"shift", "a"}, {{"shift", "a"}}), std::nullopt);
    EXPECT_EQ(activatingKey({}, {}), std::nullopt);
}

} // namespace
} // namespace zelvo
