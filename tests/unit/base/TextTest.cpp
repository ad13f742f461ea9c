#include "base/Text.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

using Texts = std::vector<std::string>;

std::string const family = "👨‍👩‍👧‍👦"; // Seven code points, one character.
std::string const flag = "🇩🇪";
std::string const composed = "e\u0301";

TEST(Text, countsUserPerceivedCharacters)
{
    EXPECT_EQ(text::characterCount(""), 0u);
    EXPECT_EQ(text::characterCount("abc"), 3u);
    EXPECT_EQ(text::characterCount("a\r\nb"), 3u);
    EXPECT_EQ(text::characterCount("Größe"), 5u);
    EXPECT_EQ(text::characterCount(composed), 1u);
    EXPECT_EQ(text::characterCount(family + flag + flag), 3u);
    EXPECT_EQ(text::characterCount("한국어"), 3u);
}

TEST(Text, cutsBetweenCharacters)
{
    EXPECT_EQ(text::prefix("abc", 2), "ab");
    EXPECT_EQ(text::prefix("abc", 0), "");
    EXPECT_EQ(text::prefix("abc", 9), "abc");
    EXPECT_EQ(text::prefix(family + "b", 1), family);
    EXPECT_EQ(text::prefix(composed + composed, 1), composed);
    EXPECT_EQ(text::prefix("é" + std::string(200, 'x'), 128).size(), 129u);
    EXPECT_EQ(text::prefix("a\r\nb", 2), "a\r\n");
}

TEST(Text, aPrefixOfBytesEndsBetweenCodePoints)
{
    EXPECT_EQ(text::prefixOfBytes("abc", 2), "ab");
    EXPECT_EQ(text::prefixOfBytes("abc", 3), "abc");
    EXPECT_EQ(text::prefixOfBytes("abc", 9), "abc");
    EXPECT_EQ(text::prefixOfBytes("aé", 2), "a");
    EXPECT_EQ(text::prefixOfBytes("a😀b", 4), "a");
    EXPECT_EQ(text::prefixOfBytes("a😀b", 5), "a😀");
    EXPECT_EQ(text::prefixOfBytes("é", 1), "");
    EXPECT_EQ(text::prefixOfBytes("", 0), "");
}

TEST(Text, piecesOfTwentyNeverSplitACharacter)
{
    std::string const line = std::string(19, 'a') + family + std::string(19, 'b') + flag + "c";

    EXPECT_EQ(text::chunks(line, 20),
              (Texts{std::string(19, 'a') + family, std::string(19, 'b') + flag, "c"}));
}

TEST(Text, piecesJoinedAreTheTextAgain)
{
    std::string line;
    for (int times = 0; times < 37; ++times)
        line += "a" + family + composed + "\r\n" + flag;
    std::string joined;
    for (std::string const& piece : text::chunks(line, 20)) {
        EXPECT_LE(text::characterCount(piece), 20u);
        joined += piece;
    }
    EXPECT_EQ(joined, line);
}

TEST(Text, piecesAtTheirEdges)
{
    EXPECT_EQ(text::chunks("", 20), Texts{""});
    EXPECT_EQ(text::chunks(std::string(20, 'a'), 20), Texts{std::string(20, 'a')});
    EXPECT_EQ(text::chunks(std::string(21, 'a'), 20), (Texts{std::string(20, 'a'), "a"}));
    EXPECT_EQ(text::chunks("abc", 1), (Texts{"a", "b", "c"}));
}

TEST(Text, trimsWhiteSpaceAndLineEndsOfEveryKind)
{
    EXPECT_EQ(text::trimmed(" \t\r\n a b \u2028\u00a0\u3000"), "a b");
    EXPECT_EQ(text::trimmed(" \n "), "");
    EXPECT_EQ(text::trimmed(""), "");
    EXPECT_EQ(text::trimmed("😀 "), "😀");
}

TEST(Text, removesControlCharacters)
{
    EXPECT_EQ(text::withoutControlCharacters("a\u0007b\u200e\u009fc\n"), "abc");
    EXPECT_EQ(text::withoutControlCharacters("a\u2028b\u2029c"), "abc");
    EXPECT_EQ(text::withoutControlCharacters("Größe 😀"), "Größe 😀");
}

TEST(Text, fitsForeignTextIntoOneLine)
{
    EXPECT_EQ(text::shownInLine("a\nb\u2028c\u2029d\u202E\u202Ce", 5), "abcde");
    EXPECT_EQ(text::shownInLine("abcdef", 5), "abcde…");
    EXPECT_EQ(text::shownInLine("", 5), "");
    // However long it is, only its beginning is read.
    EXPECT_EQ(text::shownInLine(std::string(10'000'000, '\n') + "abc", 5), "…");
    EXPECT_EQ(text::shownInLine(std::string(10'000'000, 'a'), 5), "aaaaa…");
}

TEST(Text, changesCaseBeyondAscii)
{
    EXPECT_EQ(text::lowercased("ÄÖI АБ"), "äöi аб");
    EXPECT_EQ(text::uppercased("straße я"), "STRASSE Я");
    EXPECT_EQ(text::capitalized("ёлка и Дом"), "Ёлка и Дом");
    EXPECT_EQ(text::capitalized(""), "");
    EXPECT_TRUE(text::equalIgnoringCase("STRASSE", "straße"));
    EXPECT_FALSE(text::equalIgnoringCase("a", "b"));
}

TEST(Text, knowsUtf8)
{
    EXPECT_TRUE(text::isUtf8(""));
    EXPECT_TRUE(text::isUtf8("a\u00e9😀"));
    EXPECT_TRUE(text::isUtf8(std::string_view("a\0b", 3)));
    for (char const* const bytes : {"\xff", "\xc3", "\xed\xa0\x80", "\xc0\x80", "\xf4\x90\x80\x80", "a\x80"})
        EXPECT_FALSE(text::isUtf8(bytes)) << bytes;
}

TEST(Text, repairsWhatIsNotUtf8)
{
    EXPECT_EQ(text::repaired("ok😀"), "ok😀");
    EXPECT_EQ(text::repaired("a\xff"
                             "b"),
              "a\uFFFDb");
    EXPECT_TRUE(text::isUtf8(text::repaired("\xed\xa0\x80\xc3")));
    EXPECT_EQ(text::repaired(std::string("\xff\0x", 3)), std::string("\xef\xbf\xbd\0x", 5));
}

TEST(Text, survivesIllFormedInputEverywhere)
{
    std::string const bad = std::string(19, 'a') + "\xf0\x9f\x98" + "b\xff\xc3";
    EXPECT_GT(text::characterCount(bad), 0u);
    std::string joined;
    for (std::string const& piece : text::chunks(bad, 20))
        joined += piece;
    EXPECT_EQ(joined, bad);
    EXPECT_TRUE(text::isUtf8(text::trimmed(bad)));
    EXPECT_TRUE(text::isUtf8(text::lowercased(bad)));
}

TEST(Text, takesCamelCaseApart)
{
    EXPECT_EQ(text::camelCaseSplit("sendMessage"), "send Message");
    EXPECT_EQ(text::camelCaseSplit("URLField"), "URLField");
    EXPECT_EQ(text::camelCaseSplit("a1B c D"), "a1 B c D");
    EXPECT_EQ(text::camelCaseSplit("a\u00a0B"), "a\u00a0B");
    EXPECT_EQ(text::camelCaseSplit("письмоE\u0301tat"), "письмо E\u0301tat");
    EXPECT_EQ(text::camelCaseSplit(""), "");
}

TEST(Text, keepsLettersAndNumbers)
{
    EXPECT_EQ(text::wordsOnly("a_b--c"), "a b c");
    EXPECT_EQ(text::wordsOnly("!a 1!"), " a 1 ");
    EXPECT_EQ(text::wordsOnly("e\u0301"), "e ");
    EXPECT_EQ(text::wordsOnly("Ж½Ⅳ漢"), "Ж½Ⅳ漢");
    EXPECT_EQ(text::wordsOnly(""), "");
}

} // namespace

} // namespace zelvo
