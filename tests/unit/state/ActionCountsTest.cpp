#include "state/ActionCounts.h"

#include <gtest/gtest.h>

#include <limits>

namespace zelvo {
namespace {

using A = InputAction;
using Part = ActionCounts::Part;

A click(std::int64_t count)
{
    return {A::Click{.point = {}, .button = MouseButton::left, .count = count, .modifiers = {}}};
}

ActionCounts of(std::vector<InputAction> list)
{
    return ActionCounts::of(list);
}

TEST(ActionCounts, countsNothingInAnEmptyBatch)
{
    ActionCounts const counts = of({});

    EXPECT_TRUE(counts.parts.empty());
    EXPECT_EQ(counts.moves + counts.clicks + counts.drags + counts.scrolls + counts.characters, 0);
    EXPECT_TRUE(counts.keyNames.empty());
}

TEST(ActionCounts, countsMovesAsNoPart)
{
    ActionCounts const counts = of({{A::Move{}}, {A::Move{}}});

    EXPECT_EQ(counts.moves, 2);
    EXPECT_TRUE(counts.parts.empty());
}

TEST(ActionCounts, countsWaitsAndReleasesNotAtAll)
{
    ActionCounts const counts = of({{A::Wait{5}}, {A::MouseUp{}}});

    EXPECT_TRUE(counts.parts.empty());
    EXPECT_EQ(counts.moves, 0);
    EXPECT_EQ(counts.clicks, 0);
}

TEST(ActionCounts, countsTheClicksOfEachClick)
{
    EXPECT_EQ(of({click(1)}).clicks, 1);
    EXPECT_EQ(of({click(2), click(3)}).clicks, 5);
    EXPECT_EQ(of({click(0), click(-9)}).clicks, 2);
    EXPECT_EQ(of({click(2)}).parts, std::vector{Part::click});
}

TEST(ActionCounts, countsAPressAndReleaseOnce)
{
    EXPECT_EQ(of({{A::MouseDown{}}, {A::MouseUp{}}}).clicks, 1);
    EXPECT_EQ(of({{A::MouseDown{}}}).parts, std::vector{Part::click});
}

TEST(ActionCounts, countsAClickOnAnElementOnce)
{
    EXPECT_EQ(of({{A::ClickElement{"s", "e"}}}).clicks, 1);
    EXPECT_EQ(of({{A::ClickElement{"s", "e"}}}).parts, std::vector{Part::click});
}

TEST(ActionCounts, staysAtTheEdgeOfWhatANumberHolds)
{
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();

    EXPECT_EQ(of({click(3'000'000'000), click(1)}).clicks, 3'000'000'001);
    EXPECT_EQ(of({click(most), click(most), {A::MouseDown{}}}).clicks, most);
    EXPECT_EQ(of({click(std::numeric_limits<std::int64_t>::min())}).clicks, 1);
}

TEST(ActionCounts, countsDragsAndScrolls)
{
    ActionCounts const counts = of({{A::Drag{}}, {A::Scroll{}}, {A::Scroll{}}});

    EXPECT_EQ(counts.drags, 1);
    EXPECT_EQ(counts.scrolls, 2);
    EXPECT_EQ(counts.parts, (std::vector{Part::drag, Part::scroll}));
}

TEST(ActionCounts, countsTypedTextsAndSetValuesInCharacters)
{
    EXPECT_EQ(of({{A::Type{"é"}}}).characters, 1);
    EXPECT_EQ(of({{A::Type{"e\u0301👨‍👩‍👧‍👦"}}}).characters, 2);
    EXPECT_EQ((of({{A::Type{"ab"}}, {A::SetValue{"s", "e", "cde"}}}).characters), 5);
    EXPECT_EQ((of({{A::SetValue{"s", "e", "x"}}}).parts), std::vector{Part::type});
    EXPECT_EQ(of({{A::Type{""}}}).parts, std::vector{Part::type});
}

TEST(ActionCounts, namesEachChord)
{
    ActionCounts const counts = of({{A::Key{{"cmd", "a"}}}, {A::Key{{"return"}}}});

    EXPECT_EQ(counts.keyNames, (std::vector<std::string>{"⌘A", "Return"}));
    EXPECT_EQ(counts.parts, std::vector{Part::keys});
}

TEST(ActionCounts, keepsEachPartOnceInTheOrderOfFirstAppearance)
{
    ActionCounts const counts = of(
        {{A::Key{{"a"}}}, click(1), {A::Scroll{}}, {A::Key{{"b"}}}, {A::Type{"x"}}, click(1), {A::Drag{}}});

    EXPECT_EQ(counts.parts, (std::vector{Part::keys, Part::click, Part::scroll, Part::type, Part::drag}));
}

} // namespace
} // namespace zelvo
