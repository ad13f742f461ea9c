// The clipboard between this program and real applications, operated by key presses.
#include "desktop/input/InputFixture.h"
#include "desktop/input/SampleTexts.h"
#include "desktop/input/TextField.h"
#include "platform/linux/x11/clipboard/X11Pasteboard.h"

#include <gtest/gtest.h>

#include <fstream>

namespace zelvo::test {
namespace {

// Key codes that every X server on Linux uses.
constexpr std::uint8_t control = 37;
constexpr std::uint8_t shift = 50;
constexpr std::uint8_t keyA = 38;
constexpr std::uint8_t keyC = 54;
constexpr std::uint8_t keyV = 55;
constexpr std::uint8_t insert = 118;

class Clipboard : public testing::TestWithParam<FieldKind> {
protected:
    Clipboard()
    {
        auto const resources = fixture.desktop.home() / "resources";
        std::ofstream(resources) << "XTerm*selectToClipboard: true\n";
        fixture.desktop.run({"xrdb", "-merge", resources.string()});
    }
    ~Clipboard() override { fixture.live.stop(); } // Before the pasteboard goes, which it runs.

    void press(std::uint8_t modifier, std::uint8_t key)
    {
        fixture.personKey(modifier, true);
        fixture.personKey(key, true);
        fixture.personKey(key, false);
        fixture.personKey(modifier, false);
    }
    void paste() { GetParam() == FieldKind::xterm ? press(shift, insert) : press(control, keyV); }
    void copyAll()
    {
        std::int64_t const before = pasteboard.changeCount();
        press(control, keyA);
        press(control, keyC);
        require("the copy", [&] { return pasteboard.changeCount() > before; });
    }
    bool set(std::string text) { return fixture.await(pasteboard.setText(std::move(text))); }
    std::string get() { return fixture.await(pasteboard.text()); }

    InputFixture fixture;
    X11Pasteboard pasteboard{fixture.contexts, fixture.clock, fixture.desktop.display()};
};

std::string manyLines(std::size_t size)
{
    std::string text;
    for (int line = 0; text.size() < size; ++line)
        text += std::to_string(line) + " é漢😀 and so on until the end of the line\n";
    return text;
}

TEST_P(Clipboard, isPastedFromUs)
{
    TextField const field(fixture.desktop, GetParam());
    std::string const text = "Grüße € 漢字 😀 and more.";
    ASSERT_TRUE(set(text));

    paste();

    EXPECT_EQ(field.valueAfter(text), text);
}

TEST_P(Clipboard, isPastedFromUsAgainWhenItHasChanged)
{
    TextField const field(fixture.desktop, GetParam());
    ASSERT_TRUE(set("one "));
    paste();
    ASSERT_EQ(field.valueAfter("one "), "one ");

    ASSERT_TRUE(set("two"));
    paste();

    EXPECT_EQ(field.valueAfter("one two"), "one two");
}

/// Fields with copy shortcuts; a terminal has none.
class CopyingClipboard : public Clipboard {};

TEST_P(CopyingClipboard, isCopiedToUs)
{
    std::string const text = "Grüße € 漢字 😀\nand a second line";
    TextField const field(fixture.desktop, GetParam(), text);
    ASSERT_EQ(field.valueAfter(text), text);

    copyAll();

    EXPECT_EQ(get(), text);
}

TEST_P(CopyingClipboard, takesALongTextBothWays)
{
    TextField const field(fixture.desktop, GetParam());
    std::string const text = manyLines(std::size_t{1} << 20);
    ASSERT_TRUE(set(text));
    paste();
    ASSERT_TRUE(field.valueAfter(text) == text);

    ASSERT_TRUE(set("something else"));
    copyAll();

    EXPECT_TRUE(get() == text);
}

std::string nameOf(testing::TestParamInfo<FieldKind> const& info)
{
    return fieldName(info.param);
}

std::vector<FieldKind> kindsThatCopy()
{
    std::vector<FieldKind> kinds = fieldKinds();
    std::erase(kinds, FieldKind::xterm);
    return kinds;
}

INSTANTIATE_TEST_SUITE_P(Fields, Clipboard, testing::ValuesIn(fieldKinds()), nameOf);
INSTANTIATE_TEST_SUITE_P(Fields, CopyingClipboard, testing::ValuesIn(kindsThatCopy()), nameOf);

} // namespace
} // namespace zelvo::test
