#include "platform/linux/x11/clipboard/ClipboardBytes.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

std::string textOf(ClipboardEncoding encoding, std::string bytes)
{
    return ClipboardBytes{encoding, std::move(bytes)}.text();
}

std::string numbers(std::vector<std::uint32_t> const& values)
{
    return {reinterpret_cast<char const*>(values.data()), values.size() * sizeof(std::uint32_t)};
}

TEST(ClipboardBytes, readsUtf8AsItStands)
{
    EXPECT_EQ(textOf(ClipboardEncoding::utf8, "Grüße € 漢 😀\n\t"), "Grüße € 漢 😀\n\t");
    EXPECT_EQ(textOf(ClipboardEncoding::utf8, ""), "");
}

TEST(ClipboardBytes, repairsWhatIsNotUtf8)
{
    EXPECT_EQ(textOf(ClipboardEncoding::utf8, "a\xff"
                                              "b"),
              "a\xef\xbf\xbd"
              "b");
    EXPECT_EQ(textOf(ClipboardEncoding::utf8, "cut \xe2\x82"), "cut \xef\xbf\xbd");
}

TEST(ClipboardBytes, readsLatin1)
{
    EXPECT_EQ(textOf(ClipboardEncoding::latin1, "Gr\xfc\xdf"
                                                "e \xa9\xff"),
              "Grüße ©ÿ");
}

TEST(ClipboardBytes, takesUnsaidBytesForUtf8WhereTheyAre)
{
    EXPECT_EQ(textOf(ClipboardEncoding::unsaid, "Grüße"), "Grüße");
    EXPECT_EQ(textOf(ClipboardEncoding::unsaid, "Gr\xfc\xdf"
                                                "e"),
              "Grüße");
}

TEST(ClipboardBytes, leavesOutAClosingNul)
{
    EXPECT_EQ(textOf(ClipboardEncoding::utf8, std::string("text\0", 5)), "text");
    EXPECT_EQ(textOf(ClipboardEncoding::latin1, std::string("text\0", 5)), "text");
    EXPECT_EQ(textOf(ClipboardEncoding::utf8, std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(OfferedText, sharesTheBytesOfAscii)
{
    OfferedText const offered("plain");

    EXPECT_EQ(offered.latin1(), "plain");
    EXPECT_EQ(offered.latin1().data(), offered.utf8.data());
}

TEST(OfferedText, putsQuestionMarksInLatin1)
{
    EXPECT_EQ(OfferedText("Grüße ÿ").latin1(), "Gr\xfc\xdf"
                                               "e \xff");
    EXPECT_EQ(OfferedText("a€b漢c😀d\xc4\x80").latin1(), "a?b?c?d?");
}

TEST(OfferedText, isWellFormedWhateverItIsMadeOf)
{
    EXPECT_EQ(OfferedText("a\xff").utf8, "a\xef\xbf\xbd");
    EXPECT_EQ(OfferedText("a\xff").latin1(), "a?");
}

TEST(AtomPairs, areReadInOrder)
{
    auto const pairs = parseAtomPairs(numbers({31, 100, 40, 0}));

    EXPECT_EQ(pairs, (std::vector<AtomPair>{{31, 100}, {40, 0}}));
}

TEST(AtomPairs, areRefusedWhenTheyAreNotWhole)
{
    EXPECT_EQ(parseAtomPairs(""), std::nullopt);
    EXPECT_EQ(parseAtomPairs(numbers({31})), std::nullopt);
    EXPECT_EQ(parseAtomPairs(numbers({31, 100, 40})), std::nullopt);
    EXPECT_EQ(parseAtomPairs(numbers({31, 100}).substr(0, 7)), std::nullopt);
}

} // namespace
} // namespace zelvo
