#include "ZelvoGateway/base/SealedText.h"

#include "base/Base64.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(SealedText, isForWhoeverHasTheSecret)
{
    for (std::string const& text :
         {std::string(), std::string("a"), std::string("\0b", 2), std::string(100'000, 'x')}) {
        std::string const hidden = sealed(text, "secret");
        EXPECT_EQ(unsealed(hidden, "secret"), text);
        EXPECT_EQ(unsealed(hidden, "another"), std::nullopt);
        EXPECT_EQ(unsealed(hidden, ""), std::nullopt);
    }
}

TEST(SealedText, differsEachTimeAndShowsNothing)
{
    std::string const one = sealed("a text of some length", "secret");

    EXPECT_NE(one, sealed("a text of some length", "secret"));
    EXPECT_EQ(base64::decode(one)->find("text"), std::string::npos);
}

TEST(SealedText, isNothingOnceItWasChanged)
{
    std::string const bytes = *base64::decode(sealed("text", "secret"));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string changed = bytes;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        std::string const text =
            base64::encode({reinterpret_cast<unsigned char const*>(changed.data()), changed.size()});
        EXPECT_EQ(unsealed(text, "secret"), std::nullopt) << i;
    }
    for (char const* const bad : {"", "no base64!", "AAAA", "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"})
        EXPECT_EQ(unsealed(bad, "secret"), std::nullopt) << bad;
}

} // namespace
} // namespace zelvo::service
