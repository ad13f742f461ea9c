#include "state/ActivityWording.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using A = InputAction;
using ActivityWording::Actions;
using ActivityWording::keyName;
using ActivityWording::sentence;

A click(std::int64_t count = 1)
{
    return {A::Click{.point = {}, .button = MouseButton::left, .count = count, .modifiers = {}}};
}

A key(std::string name)
{
    return {A::Key{{std::move(name)}}};
}

Actions words(std::vector<InputAction> list, std::optional<std::string> appName = {})
{
    return ActivityWording::actions(list, appName);
}

/// The first character of an English text in upper case.
std::string upper(std::string text)
{
    text.at(0) = static_cast<char>(std::toupper(static_cast<unsigned char>(text.at(0))));
    return text;
}

/// Texts are compared in English, where the first character is one byte.
class ActivityWordingTest : public testing::Test {
public:
    ActivityWordingTest() { texts::useLanguage("en"); }
};

TEST_F(ActivityWordingTest, wordsAnEmptyBatchAsWaiting)
{
    EXPECT_EQ(words({}),
              (Actions{upper(localized("activity.verb.wait")), localized("activity.actions", {0}), ""}));
}

TEST_F(ActivityWordingTest, wordsMovesAndWaits)
{
    EXPECT_EQ(words({{A::Move{}}, {A::Wait{1}}}).summary, upper(localized("activity.verb.move")));
    EXPECT_EQ(words({{A::Wait{1}}}).summary, upper(localized("activity.verb.wait")));
    EXPECT_EQ(words({{A::MouseUp{}}}).summary, upper(localized("activity.verb.wait")));
    EXPECT_EQ(words({{A::Move{}}}).detail, "");
}

TEST_F(ActivityWordingTest, hasAVerbForEachPart)
{
    EXPECT_EQ(words({click()}).summary, upper(localized("activity.verb.click")));
    EXPECT_EQ(words({{A::Type{"a"}}}).summary, upper(localized("activity.verb.type")));
    EXPECT_EQ(words({key("a")}).summary, upper(localized("activity.verb.keys")));
    EXPECT_EQ(words({{A::Scroll{}}}).summary, upper(localized("activity.verb.scroll")));
    EXPECT_EQ(words({{A::Drag{}}}).summary, upper(localized("activity.verb.drag")));
}

TEST_F(ActivityWordingTest, leavesOutMovesBesideOtherParts)
{
    EXPECT_EQ(words({{A::Move{}}, click()}).summary, upper(localized("activity.verb.click")));
}

TEST_F(ActivityWordingTest, joinsTheVerbsInTheOrderOfFirstAppearance)
{
    std::string const expected = localized(
        "activity.and", {localized("activity.verb.scroll") + ", " + localized("activity.verb.click"),
                         localized("activity.verb.type")});

    EXPECT_EQ(words({{A::Scroll{}}, click(), {A::Type{"a"}}, {A::Scroll{}}}).summary, upper(expected));
}

TEST_F(ActivityWordingTest, namesTheApplication)
{
    EXPECT_EQ(words({click()}, "Mail").summary,
              localized("activity.actionsIn", {upper(localized("activity.verb.click")), "Mail"}));
    EXPECT_EQ(words({click()}, "").summary,
              localized("activity.actionsIn", {upper(localized("activity.verb.click")), ""}));
}

TEST_F(ActivityWordingTest, capitalizesAlsoBeyondAscii)
{
    texts::useLanguage("ru");

    std::string const summary = words({click()}).summary;

    EXPECT_NE(summary, localized("activity.verb.click"));
    EXPECT_EQ(summary.substr(2), localized("activity.verb.click").substr(2)); // After the first character.
    texts::useLanguage("en");
}

TEST_F(ActivityWordingTest, countsTheActionsInTheNote)
{
    EXPECT_EQ(words({click()}).note, localized("activity.actions", {1}));
    EXPECT_EQ(words({click(), {A::Wait{}}}).note, localized("activity.actions", {2}));
}

TEST_F(ActivityWordingTest, countsClicksApartFromActions)
{
    Actions const actions = words({click(2)});

    EXPECT_EQ(actions.detail, localized("activity.detail.clicks", {2}));
    EXPECT_EQ(actions.note, localized("activity.actions", {1}));
}

TEST_F(ActivityWordingTest, wordsOneAndManyOfEachPart)
{
    EXPECT_EQ(words({click()}).detail, localized("activity.detail.clicks", {1}));
    EXPECT_EQ(words({click(), click()}).detail, localized("activity.detail.clicks", {2}));
    EXPECT_EQ(words({{A::Scroll{}}}).detail, localized("activity.detail.scrolls", {1}));
    EXPECT_EQ(words({{A::Scroll{}}, {A::Scroll{}}, {A::Scroll{}}}).detail,
              localized("activity.detail.scrolls", {3}));
    EXPECT_EQ(words({{A::Drag{}}}).detail, localized("activity.detail.drags", {1}));
    EXPECT_EQ(words({{A::Drag{}}, {A::Drag{}}}).detail, localized("activity.detail.drags", {2}));
}

TEST_F(ActivityWordingTest, countsByTheRulesOfEachLanguage)
{
    auto const drags = [](std::size_t count) { return words(std::vector<InputAction>(count, {A::Drag{}})); };

    EXPECT_EQ(drags(1).note, "1 action");
    EXPECT_EQ(drags(1).detail, "1 drag");
    EXPECT_EQ(drags(2).note, "2 actions");
    EXPECT_EQ(drags(21).detail, "21 drags");
    EXPECT_EQ(words({{A::Type{"a"}}}).detail, "1 character typed (what was typed is not kept)");

    texts::useLanguage("ru");
    EXPECT_EQ(drags(1).note, "1 действие");
    EXPECT_EQ(drags(3).note, "3 действия");
    EXPECT_EQ(drags(5).note, "5 действий");
    EXPECT_EQ(drags(21).note, "21 действие");
    EXPECT_EQ(drags(1).detail, "1 перетаскивание");
    EXPECT_EQ(drags(3).detail, "3 перетаскивания");
    EXPECT_EQ(drags(11).detail, "11 перетаскиваний");
    EXPECT_EQ(words({click(1)}).detail, "1 нажатие");
    EXPECT_EQ(words({click(4)}).detail, "4 нажатия");
    EXPECT_EQ(words({{A::Scroll{}}}).detail, "1 прокрутка");
    EXPECT_EQ(words({{A::Type{"a"}}}).detail, "напечатан 1 знак (сам текст не сохраняется)");
    EXPECT_EQ(words({{A::Type{"abc"}}}).detail, "напечатано 3 знака (сам текст не сохраняется)");
    texts::useLanguage("en");
}

TEST_F(ActivityWordingTest, saysThatTypedTextIsNotKept)
{
    EXPECT_EQ(words({{A::Type{"é"}}}).detail,
              localized("activity.detail.withPrivacy", {localized("activity.detail.characters", {1})}));
    EXPECT_EQ(words({{A::Type{"abc"}}, {A::SetValue{"s", "e", "de"}}}).detail,
              localized("activity.detail.withPrivacy", {localized("activity.detail.characters", {5})}));
}

TEST_F(ActivityWordingTest, neverHoldsTypedText)
{
    Actions const actions = words({{A::Type{"hunter2"}}, {A::SetValue{"s", "e", "hunter2"}}}, "Mail");

    EXPECT_EQ((actions.summary + actions.note + actions.detail).find("hunter2"), std::string::npos);
}

TEST_F(ActivityWordingTest, needsNoPrivacyForAnEmptyText)
{
    EXPECT_EQ(words({{A::Type{""}}}).detail, localized("activity.detail.characters", {0}));
}

TEST_F(ActivityWordingTest, joinsTheLinesInTheOrderOfTheirParts)
{
    EXPECT_EQ(words({{A::Drag{}}, click(2), {A::Type{"ab"}}}).detail,
              localized("activity.detail.withPrivacy",
                        {localized("activity.detail.drags", {1}) + localized("list.separator") +
                         localized("activity.detail.clicks", {2}) + localized("list.separator") +
                         localized("activity.detail.characters", {2})}));
}

TEST_F(ActivityWordingTest, listsThreeKeysAndNoMore)
{
    auto const keysLine = [](std::string names) {
        return localized("activity.detail.keys", {std::move(names)});
    };

    EXPECT_EQ(words({key("a")}).detail, keysLine("A"));
    EXPECT_EQ(words({key("a"), key("b"), key("c")}).detail, keysLine("A, B, C"));
    EXPECT_EQ(words({key("a"), key("b"), key("c"), key("d")}).detail, keysLine("A, B, C…"));
    EXPECT_EQ(words({key("a"), key("b"), key("c"), key("d"), key("e")}).detail, keysLine("A, B, C…"));
}

TEST_F(ActivityWordingTest, boundsTheNamesOfKeys)
{
    std::string const detail = words({{A::Key{{std::string(1 << 20, 'x') + "\n\nAllowed by you"}}}}).detail;
    EXPECT_EQ(detail, localized("activity.detail.keys", {"X" + std::string(39, 'x')}));
}

TEST_F(ActivityWordingTest, listsEachChordWithItsSymbols)
{
    EXPECT_EQ(words({{A::Key{{"cmd", "c"}}}, {A::Key{{"cmd", "v"}}}}).detail,
              localized("activity.detail.keys", {"⌘C, ⌘V"}));
}

TEST_F(ActivityWordingTest, makesASentenceOfItems)
{
    EXPECT_EQ(sentence({}), "");
    EXPECT_EQ(sentence({"a"}), "a");
    EXPECT_EQ(sentence({"a", "b"}), localized("activity.and", {"a", "b"}));
    EXPECT_EQ(sentence({"a", "b", "c"}), localized("activity.and", {"a, b", "c"}));
}

TEST_F(ActivityWordingTest, namesASingleKey)
{
    EXPECT_EQ(keyName({}), "");
    EXPECT_EQ(keyName({""}), "");
    EXPECT_EQ(keyName({"return"}), "Return");
    EXPECT_EQ(keyName({"a"}), "A");
    EXPECT_EQ(keyName({"é"}), "É");
    EXPECT_EQ(keyName({"f5"}), "F5");
    EXPECT_EQ(keyName({"F5"}), "F5");
    EXPECT_EQ(keyName({"pageUp"}), "PageUp");
    EXPECT_EQ(keyName({"cmd"}), "Cmd"); // The last entry is never a symbol.
}

TEST_F(ActivityWordingTest, hasASymbolForEachModifier)
{
    EXPECT_EQ(keyName({"cmd", "a"}), "⌘A");
    EXPECT_EQ(keyName({"command", "a"}), "⌘A");
    EXPECT_EQ(keyName({"shift", "a"}), "⇧A");
    EXPECT_EQ(keyName({"alt", "a"}), "⌥A");
    EXPECT_EQ(keyName({"option", "a"}), "⌥A");
    EXPECT_EQ(keyName({"ctrl", "a"}), "⌃A");
    EXPECT_EQ(keyName({"control", "a"}), "⌃A");
    EXPECT_EQ(keyName({"fn", "a"}), "fnA");
}

TEST_F(ActivityWordingTest, joinsAChordWithoutASeparator)
{
    EXPECT_EQ(keyName({"cmd", "shift", "k"}), "⌘⇧K");
    EXPECT_EQ(keyName({"ctrl", "alt", "tab"}), "⌃⌥Tab");
}

TEST_F(ActivityWordingTest, takesModifiersInAnyCaseAndKeepsUnknownWordsAsGiven)
{
    EXPECT_EQ(keyName({"CMD", "Shift", "k"}), "⌘⇧K");
    EXPECT_EQ(keyName({"Hyper", "k"}), "HyperK");
    EXPECT_EQ(keyName({"cmd", "a", "b"}), "⌘aB");
}

TEST_F(ActivityWordingTest, wordsEveryChangeOfAvailability)
{
    using enum Availability;
    for (Availability const from : {asleep, noGUISession, ready, screenLocked}) {
        EXPECT_EQ(ActivityWording::availability(from, asleep), localized("activity.mac.asleep"));
        EXPECT_EQ(ActivityWording::availability(from, noGUISession), localized("activity.mac.noSession"));
        EXPECT_EQ(ActivityWording::availability(from, screenLocked), localized("activity.mac.locked"));
    }
    EXPECT_EQ(ActivityWording::availability(asleep, ready), localized("activity.mac.woke"));
    EXPECT_EQ(ActivityWording::availability(noGUISession, ready), localized("activity.mac.sessionBack"));
    EXPECT_EQ(ActivityWording::availability(screenLocked, ready), localized("activity.mac.unlocked"));
    EXPECT_EQ(ActivityWording::availability(ready, ready), localized("activity.mac.ready"));
}

TEST_F(ActivityWordingTest, wordsADuration)
{
    using ActivityWording::duration;
    EXPECT_EQ(duration(0), localized("activity.duration.ms", {0}));
    EXPECT_EQ(duration(999), localized("activity.duration.ms", {999}));
    EXPECT_EQ(duration(1000), localized("activity.duration.s", {1}));
    EXPECT_EQ(duration(1499), localized("activity.duration.s", {1}));
    EXPECT_EQ(duration(1500), localized("activity.duration.s", {2}));
    EXPECT_EQ(duration(59'499), localized("activity.duration.s", {59}));
    EXPECT_EQ(duration(59'500), localized("activity.duration.min", {1}));
    EXPECT_EQ(duration(90'000), localized("activity.duration.minS", {1, 30}));
    EXPECT_EQ(duration(std::numeric_limits<std::int64_t>::max() / 1000 * 1000),
              localized("activity.duration.minS", {153'722'867'280'912, 55}));
    EXPECT_EQ(duration(-5), localized("activity.duration.ms", {-5}));
}

TEST_F(ActivityWordingTest, wordsTheEndOfACommand)
{
    using ActivityWording::duration;
    using ActivityWording::terminalNote;
    std::string const separator = localized("list.separator");
    EXPECT_EQ(terminalNote(3, 1000, false),
              localized("activity.terminal.exit", {3}) + separator + duration(1000));
    EXPECT_EQ(terminalNote(15, 120'000, true),
              localized("activity.terminal.timedOut") + separator + duration(120'000));
}

} // namespace
} // namespace zelvo
