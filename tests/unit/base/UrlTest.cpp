#include "base/Url.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::test {
namespace {

using namespace std::string_view_literals;

TEST(Url, isOneWithAScheme)
{
    for (std::string_view const text :
         {"https://example.org/a%20b?c=d&e='f'#g", "HTTP://example.org", "mailto:a@b?subject=%20",
          "file:///etc/hosts", "zelvo://link?token=T", "tel:+49-30", "http://[::1]:8080/",
          "a+b-c.d:", "urn:isbn:0451450523"}) {
        EXPECT_TRUE(isUrl(text)) << text;
        EXPECT_TRUE(isAbsoluteUrl(text)) << text;
    }
}

TEST(Url, isAReference)
{
    for (std::string_view const text :
         {"example.org", "/etc/hosts", "//example.org/a", "?a=b", "#a", "-rf", "--version", "a/b;c", "."}) {
        EXPECT_TRUE(isUrl(text)) << text;
        EXPECT_FALSE(isAbsoluteUrl(text)) << text;
    }
}

TEST(Url, isNoOtherText)
{
    for (std::string_view const text : {""sv,
                                        " "sv,
                                        "no url at all"sv,
                                        "https://example.org/a b"sv,
                                        " https://example.org"sv,
                                        "https://example.org\n"sv,
                                        "https://example.org/\0x"sv,
                                        "\0"sv,
                                        "https://exa\tmple.org"sv,
                                        "https://example.org/%zz"sv,
                                        "https://example.org/%"sv,
                                        "https://[::1/"sv,
                                        "https://a:b:c/"sv,
                                        "https://\xd0\xbf.example"sv,
                                        "https://example.org/\xff"sv,
                                        "1http://x"sv,
                                        "-x://y"sv,
                                        ":a"sv,
                                        "http://a/<b>"sv,
                                        R"(http://a/"b")"sv,
                                        "http://a/{b}"sv,
                                        R"(http://a/b\c)"sv,
                                        "http://a/#b#c"sv})
        EXPECT_FALSE(isUrl(text)) << text;
}

TEST(Url, mayBeLong)
{
    EXPECT_TRUE(isUrl("https://example.org/" + std::string(1 << 20, 'a')));
    EXPECT_FALSE(isUrl("https://example.org/" + std::string(1 << 20, ' ')));
}

} // namespace
} // namespace zelvo::test
