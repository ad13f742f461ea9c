#include "desktop/input/InputDesk.h"
#include "desktop/input/SampleTexts.h"
#include "desktop/input/TextField.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

constexpr std::uint8_t capsLock = 0x02;
constexpr std::uint8_t numLock = 0x10;

class Typing : public testing::TestWithParam<FieldKind> {
protected:
    /// Types and reads back.
    void expectExact(TextField& field, std::string const& text)
    {
        std::string const before = field.value();
        desk.typeText(text);
        EXPECT_EQ(field.valueAfter(before + text), before + text);
    }

    InputDesk desk;
};

TEST_P(Typing, isExactInEveryScript)
{
    TextField field(desk.desktop, GetParam());
    std::string const keymap = desk.keymap();

    for (std::string const& text : sampleTexts())
        expectExact(field, text);

    EXPECT_EQ(desk.keymap(), keymap);
}

TEST_P(Typing, isExactForALongTextWithManyCharacters)
{
    TextField field(desk.desktop, GetParam());
    std::string const keymap = desk.keymap();

    expectExact(field, longText());

    EXPECT_EQ(desk.keymap(), keymap);
}

TEST_P(Typing, isExactWhenOnePieceNeedsMoreKeysThanThereAre)
{
    TextField field(desk.desktop, GetParam());

    expectExact(field, crowdedText());
}

TEST_P(Typing, isExactWhenTheLayoutChangesInItsMiddle)
{
    TextField field(desk.desktop, GetParam());
    std::string const first = "Yes да 漢字 ";
    std::string const second = "no нет 字漢 é\n";

    desk.await(desk.posting->beginText(first + second));
    desk.await(desk.posting->post(TextEvent{KeyEvent::Kind::down, first}));
    ASSERT_EQ(field.valueAfter(first), first);
    desk.desktop.run({"setxkbmap", "fr"});
    std::string const keymap = desk.keymap();
    desk.await(desk.posting->post(TextEvent{KeyEvent::Kind::down, second}));
    EXPECT_EQ(field.valueAfter(first + second), first + second);
    desk.await(desk.posting->endText());

    EXPECT_EQ(desk.keymap(), keymap);
}

TEST_P(Typing, isExactWithCapsLockOn)
{
    TextField field(desk.desktop, GetParam());
    desk.lockModifiers(capsLock, true);

    expectExact(field, mixedText());
}

TEST_P(Typing, isExactWithNumLockOn)
{
    TextField field(desk.desktop, GetParam());
    desk.lockModifiers(numLock, true);

    expectExact(field, mixedText());
}

TEST_P(Typing, isExactWithTheSecondGroupActive)
{
    desk.useLayout("us,ru", 1);
    TextField field(desk.desktop, GetParam());
    std::string const keymap = desk.keymap();

    expectExact(field, mixedText());
    desk.lockModifiers(capsLock, true);
    expectExact(field, mixedText());

    EXPECT_EQ(desk.keymap(), keymap);
}

INSTANTIATE_TEST_SUITE_P(Fields, Typing, testing::ValuesIn(fieldKinds()), [](auto const& info) {
    return fieldName(info.param);
});

} // namespace
} // namespace zelvo::test
