#include "base/Identifiers.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace zelvo {

namespace {

TEST(Identifiers, uuidsAreRandomAndInUpperCase)
{
    std::regex const form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    for (int number = 0; number < 1000; ++number) {
        std::string const uuid = newUuid();
        EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 1000u);
}

TEST(Identifiers, randomHexHasTwoDigitsAByte)
{
    EXPECT_EQ(randomHex(0), "");
    EXPECT_EQ(randomHex(32).size(), 64u);
    EXPECT_EQ(randomHex(32).find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(randomHex(32), randomHex(32));
}

} // namespace

} // namespace zelvo
