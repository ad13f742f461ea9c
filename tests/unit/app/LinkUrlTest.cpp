#include "app/LinkUrl.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Token = std::optional<std::string>;

TEST(LinkUrl, givesTheToken)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?token=abc"), Token("abc"));
    EXPECT_EQ(linkTokenOf("zelvo://link/?token=abc"), Token("abc"));
    EXPECT_EQ(linkTokenOf("zelvo://link/any/path?token=abc"), Token("abc"));
}

TEST(LinkUrl, takesTheFirstOfSeveralTokens)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?token=a&token=b"), Token("a"));
    EXPECT_EQ(linkTokenOf("zelvo://link?from=mail&token=a&x=y"), Token("a"));
}

TEST(LinkUrl, doesNotLookBeyondATokenWithoutValue)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?token"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?token&token=b"), Token());
}

TEST(LinkUrl, takesAnEmptyValueAsAToken)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?token="), Token(""));
    EXPECT_EQ(linkTokenOf("zelvo://link?token=&token=b"), Token(""));
}

TEST(LinkUrl, comparesSchemeAndHostExactly)
{
    EXPECT_EQ(linkTokenOf("Zelvo://link?token=a"), Token());
    EXPECT_EQ(linkTokenOf("ZELVO://link?token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://Link?token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://lin%6B?token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvos://link?token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://links?token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link.?token=a"), Token());
    EXPECT_EQ(linkTokenOf("https://link?token=a"), Token());
}

TEST(LinkUrl, comparesTheNameOfTheItemExactly)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?Token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?tokens=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?t%6Fken=a"), Token("a"));
}

TEST(LinkUrl, needsAHostAndAQuery)
{
    EXPECT_EQ(linkTokenOf("zelvo:link?token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo:///link?token=a"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link#token=a"), Token());
    EXPECT_EQ(linkTokenOf("link?token=a"), Token());
    EXPECT_EQ(linkTokenOf("//link?token=a"), Token());
    EXPECT_EQ(linkTokenOf(""), Token());
}

TEST(LinkUrl, looksAtTheHostAloneOfTheAuthority)
{
    EXPECT_EQ(linkTokenOf("zelvo://somebody@link:80?token=a"), Token("a"));
    EXPECT_EQ(linkTokenOf("zelvo://link@elsewhere?token=a"), Token());
}

TEST(LinkUrl, resolvesPercentSignsButNoPlus)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?token=a%2Bb%3D%26c"), Token("a+b=&c"));
    EXPECT_EQ(linkTokenOf("zelvo://link?token=a+b"), Token("a+b"));
    EXPECT_EQ(linkTokenOf("zelvo://link?token=%D0%B4%D0%B0"), Token("да"));
    EXPECT_EQ(linkTokenOf("zelvo://link?token=a=b"), Token("a=b"));
    EXPECT_EQ(linkTokenOf("zelvo://link?token=a#b"), Token("a"));
}

TEST(LinkUrl, skipsWhatIsNoUrl)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?token=a b"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?token=%2"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?token=%zz"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?token=\xD0\xB4"), Token());
    EXPECT_EQ(linkTokenOf(std::string_view("zelvo://link?token=a\0b", 22)), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?token=a\n"), Token());
}

TEST(LinkUrl, skipsAnEmptyQueryInFrontOfAFragment)
{
    EXPECT_EQ(linkTokenOf("zelvo://link/?#f"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?#"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?&#token=a"), Token());
}

TEST(LinkUrl, skipsATokenThatIsNotUtf8)
{
    EXPECT_EQ(linkTokenOf("zelvo://link?token=%FF"), Token());
    EXPECT_EQ(linkTokenOf("zelvo://link?token=%ED%A0%80"), Token());
}

TEST(LinkUrl, readsALongToken)
{
    std::string const token(1 << 20, 'x');

    EXPECT_EQ(linkTokenOf("zelvo://link?token=" + token), Token(token));
}

} // namespace
} // namespace zelvo
