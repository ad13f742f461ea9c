#include "desktop/input/InputFixture.h"
#include "desktop/input/SampleTexts.h"
#include "desktop/input/TextField.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

constexpr std::uint16_t keyA = 0;
constexpr std::string_view line = "alpha beta gamma";

std::string manyLines()
{
    std::string text;
    for (int at = 0; at < 300; ++at)
        text += std::string(line) + "\n";
    return text;
}

class Pointer : public testing::TestWithParam<FieldKind> {
protected:
    bool selects(std::string_view expected)
    {
        return waitFor([&] { return field.selection() == expected; }, 5s);
    }

    /// Whether the selection stays as it is for a while.
    bool keepsSelecting(std::string_view expected)
    {
        return !waitFor([&] { return field.selection() != expected; }, 700ms);
    }

    InputFixture fixture;
    TextField field{fixture.desktop, GetParam(), manyLines()};
    DesktopPoint word = field.pointIn(25, 100); ///< in the first word of a line
};

TEST_P(Pointer, doubleClickSelectsAWord)
{
    fixture.click(word, 2);

    EXPECT_TRUE(selects("alpha")) << field.selection();
}

TEST_P(Pointer, tripleClickSelectsMore)
{
    fixture.click(word, 3);

    EXPECT_TRUE(waitFor([&] { return field.selection().starts_with(line); }, 5s)) << field.selection();
}

TEST_P(Pointer, twoSingleClicksMakeNoDoubleClick)
{
    fixture.click(word);
    fixture.click(word);

    EXPECT_TRUE(keepsSelecting("")) << field.selection();
}

TEST_P(Pointer, aClickAfterADoubleClickEndsTheSelection)
{
    fixture.click(word, 2);
    ASSERT_TRUE(selects("alpha"));

    fixture.click(word);

    EXPECT_TRUE(selects("")) << field.selection();
    EXPECT_TRUE(keepsSelecting("")) << field.selection();
}

TEST_P(Pointer, dragSelects)
{
    DesktopPoint const from{field.pointIn(1, 100)};
    fixture.post(MouseEvent{MouseEvent::Kind::down, from, MouseButton::left, 0, {}});
    for (int step = 1; step <= 10; ++step)
        fixture.post(
            MouseEvent{MouseEvent::Kind::dragged, {from.x + step * 40, from.y}, MouseButton::left, 0, {}});
    fixture.post(MouseEvent{MouseEvent::Kind::up, {from.x + 400, from.y}, MouseButton::left, 0, {}});

    EXPECT_TRUE(selects(line)) << field.selection();
}

TEST_P(Pointer, wheelScrolls)
{
    fixture.post(MouseEvent{MouseEvent::Kind::moved, word, MouseButton::left, 0, {}});
    fixture.post(ScrollEvent{.dy = -530});
    ASSERT_TRUE(waitFor([&] { return field.scroll() > 0; }, 5s));

    fixture.post(ScrollEvent{.dy = 5300});

    EXPECT_TRUE(waitFor([&] { return field.scroll() == 0; }, 5s)) << field.scroll();
}

TEST_P(Pointer, chordForSelectAllWorksInEveryGroup)
{
    fixture.chord(keyA, {.cmd = true});
    EXPECT_TRUE(waitFor([&] { return field.selection().size() >= manyLines().size() - 1; }, 5s));
    fixture.click(word);
    ASSERT_TRUE(selects(""));

    fixture.useLayout("us,ru", 1);
    fixture.chord(keyA, {.ctrl = true});

    EXPECT_TRUE(waitFor([&] { return field.selection().size() >= manyLines().size() - 1; }, 5s));
}

INSTANTIATE_TEST_SUITE_P(Fields, Pointer, testing::ValuesIn(clickableKinds()), [](auto const& info) {
    return fieldName(info.param);
});

} // namespace
} // namespace zelvo::test
