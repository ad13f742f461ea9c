#include "base/Versions.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(Versions, compareNumberByNumber)
{
    EXPECT_TRUE(isVersionBelow("0.9", "0.10"));
    EXPECT_TRUE(isVersionBelow("1.2.3", "1.2.4"));
    EXPECT_FALSE(isVersionBelow("1.10", "1.9"));
    EXPECT_FALSE(isVersionBelow("2", "1.9.9"));
}

TEST(Versions, takeMissingNumbersAsZero)
{
    EXPECT_FALSE(isVersionBelow("1", "1.0.0"));
    EXPECT_FALSE(isVersionBelow("1.0.0", "1"));
    EXPECT_TRUE(isVersionBelow("1", "1.0.1"));
}

TEST(Versions, passOverWhatFollows)
{
    EXPECT_FALSE(isVersionBelow("1.2-beta", "1.2"));
    EXPECT_TRUE(isVersionBelow("nonsense", "0.1"));
    EXPECT_TRUE(isVersionBelow("", "0.1"));
    EXPECT_FALSE(isVersionBelow("99999999999999999999", "1"));
    EXPECT_FALSE(isVersionBelow("", ""));
}

} // namespace
} // namespace zelvo
