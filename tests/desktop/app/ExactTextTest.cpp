#include "app/ExactText.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::test {
namespace {

TEST(ExactText, showsOrdinaryTextAsItIs)
{
    EXPECT_EQ(exactLines("Acme\n\nls -l | wc\tx"), QStringList({"Acme", "", "ls -l | wc\tx"}));
    EXPECT_EQ(exactLines("Привет, мир 👋🏽 ❤️"), QStringList({"Привет, мир 👋🏽 ❤️"}));
    EXPECT_EQ(exactLines("a\r\nb\n"), QStringList({"a", "b"}));
    EXPECT_EQ(exactLines(""), QStringList());
}

TEST(ExactText, showsWhatHasNoLook)
{
    EXPECT_EQ(exactLines("a\x1b[2K\x08z\x7f"), QStringList({"a⟨U+001B⟩[2K⟨U+0008⟩z⟨U+007F⟩"}));
    EXPECT_EQ(exactLines(std::string_view("a\0b\rc", 5)), QStringList({"a⟨U+0000⟩b⟨U+000D⟩c"}));
    std::string const rightToLeftOverride = {'\xE2', '\x80', '\xAE'};
    EXPECT_EQ(exactLines(rightToLeftOverride + "fdp\u2028x\u200B"),
              QStringList({"⟨U+202E⟩fdp⟨U+2028⟩x⟨U+200B⟩"}));
    EXPECT_EQ(exactLines("\u3164\u00AD\U000E0041"), QStringList({"⟨U+3164⟩⟨U+00AD⟩⟨U+E0041⟩"}));
    EXPECT_EQ(exactLines("\xff"), QStringList({"\uFFFD"}));
    EXPECT_EQ(exactLines("e\u0301\u0301\u0301\u0301\u0301"),
              QStringList({"e\u0301\u0301\u0301\u0301⟨U+0301⟩"}));
}

TEST(ExactText, letsNothingPushTheEndOutOfSight)
{
    EXPECT_EQ(exactLines("a" + std::string(1000, '\n') + "b"), QStringList({"a", "⟨⏎ × 999⟩", "b"}));
    EXPECT_EQ(exactLines("a" + std::string(1000, ' ') + "b"), QStringList({"a⟨␣ × 1000⟩b"}));
    EXPECT_EQ(exactLines("a\n\n\n\nb"), QStringList({"a", "", "", "", "b"}));
    EXPECT_EQ(exactLines("   a"), QStringList({"   a"}));
}

TEST(ExactText, showsNoTwoTextsAlike)
{
    EXPECT_EQ(exactLines("⟨U+202E⟩"), QStringList({"⟨U+27E8⟩U+202E⟩"}));
    EXPECT_EQ(exactLines("⟨␣ × 50⟩"), QStringList({"⟨U+27E8⟩⟨U+2423⟩ × 50⟩"}));
}

TEST(ExactText, keepsOneLineOne)
{
    EXPECT_EQ(exactLine("A=1\nPATH=/usr/bin\r\n"), QStringList({"A=1⟨U+000A⟩PATH=/usr/bin⟨U+000D⟩⟨U+000A⟩"}));
    EXPECT_EQ(exactLine(""), QStringList());
}

TEST(ExactText, losesNothingOfALongText)
{
    std::string const line(2000, 'x');
    EXPECT_EQ(exactLines(line + "\ny"), QStringList({QString(2000, 'x'), "y"}));
    EXPECT_EQ(exactLines(line + "y\nz"), QStringList({QString(2000, 'x'), "y", "z"}));

    std::string const huge = std::string(1 << 20, 'x') + " end";
    QStringList const lines = exactLines(huge);
    EXPECT_EQ(lines.join(QString()).toStdString(), huge);
}

} // namespace
} // namespace zelvo::test
