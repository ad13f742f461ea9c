#include "base/Base64.h"

#include <gtest/gtest.h>

#include <random>

namespace zelvo {

namespace {

std::string encoded(std::string const& bytes)
{
    return base64::encode(std::span(reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size()));
}

TEST(Base64, encodesTheVectorsOfTheStandard)
{
    EXPECT_EQ(encoded(""), "");
    EXPECT_EQ(encoded("f"), "Zg==");
    EXPECT_EQ(encoded("fo"), "Zm8=");
    EXPECT_EQ(encoded("foo"), "Zm9v");
    EXPECT_EQ(encoded("foobar"), "Zm9vYmFy");
    EXPECT_EQ(encoded(std::string("\xfb\xff\x00", 3)), "+/8A");
}

TEST(Base64, readsWhatItWritesAcrossItsOwnPieces)
{
    std::mt19937 random(7);
    for (std::size_t const size :
         {1u, 2u, 3u, 1000u, (3u << 20) - 1, 3u << 20, (3u << 20) + 1, (6u << 20) + 2}) {
        std::string bytes(size, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());

        std::string const text = encoded(bytes);

        EXPECT_EQ(text.size(), (size + 2) / 3 * 4);
        EXPECT_EQ(text.find('\n'), std::string::npos);
        EXPECT_TRUE(base64::decode(text) == bytes) << size;
    }
}

TEST(Base64, refusesWhatIsNotBase64)
{
    EXPECT_EQ(base64::decode(""), "");
    for (char const* const text :
         {"Z", "Zg", "Zg=", "Zg===", "====", "Z===", "Zm 9", "Zm9v\n", "Zm-_", "Zg==Zg==", "Zm\x80v"})
        EXPECT_EQ(base64::decode(text), std::nullopt) << text;
}

} // namespace

} // namespace zelvo
