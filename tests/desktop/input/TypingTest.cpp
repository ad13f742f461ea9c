#include "desktop/input/InputFixture.h"
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
        fixture.typeText(text);
        EXPECT_EQ(field.valueAfter(before + text), before + text);
    }

    InputFixture fixture;
};

TEST_P(Typing, isExactInEveryScript)
{
    TextField field(fixture.desktop, GetParam());
    std::string const keymap = fixture.keymap();

    for (std::string const& text : sampleTexts())
        expectExact(field, text);

    EXPECT_EQ(fixture.keymap(), keymap);
}

TEST_P(Typing, isExactForALongTextWithManyCharacters)
{
    TextField field(fixture.desktop, GetParam());
    std::string const keymap = fixture.keymap();

    expectExact(field, longText());

    EXPECT_EQ(fixture.keymap(), keymap);
}

TEST_P(Typing, isExactWhenOnePieceNeedsMoreKeysThanThereAre)
{
    TextField field(fixture.desktop, GetParam());

    expectExact(field, crowdedText());
}

TEST_P(Typing, isExactWhenTheLayoutChangesInItsMiddle)
{
    TextField field(fixture.desktop, GetParam());
    std::string const first = "Yes да 漢字 ";
    std::string const second = "no нет 字漢 é\n";

    fixture.await(fixture.posting->beginText(first + second));
    fixture.await(fixture.posting->post(TextEvent{KeyEvent::Kind::down, first}));
    ASSERT_EQ(field.valueAfter(first), first);
    fixture.desktop.run({"setxkbmap", "fr"});
    std::string const keymap = fixture.keymap();
    fixture.await(fixture.posting->post(TextEvent{KeyEvent::Kind::down, second}));
    EXPECT_EQ(field.valueAfter(first + second), first + second);
    fixture.await(fixture.posting->endText());

    EXPECT_EQ(fixture.keymap(), keymap);
}

TEST_P(Typing, isExactWithCapsLockOn)
{
    TextField field(fixture.desktop, GetParam());
    fixture.lockModifiers(capsLock, true);

    expectExact(field, mixedText());
}

TEST_P(Typing, isExactWithNumLockOn)
{
    TextField field(fixture.desktop, GetParam());
    fixture.lockModifiers(numLock, true);

    expectExact(field, mixedText());
}

TEST_P(Typing, isExactWithTheSecondGroupActive)
{
    fixture.useLayout("us,ru", 1);
    TextField field(fixture.desktop, GetParam());
    std::string const keymap = fixture.keymap();

    expectExact(field, mixedText());
    fixture.lockModifiers(capsLock, true);
    expectExact(field, mixedText());

    EXPECT_EQ(fixture.keymap(), keymap);
}

INSTANTIATE_TEST_SUITE_P(Fields, Typing, testing::ValuesIn(fieldKinds()), [](auto const& info) {
    return fieldName(info.param);
});

} // namespace
} // namespace zelvo::test
