#include "platform/linux/wayland/portal/EisOpening.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(EisInput, needsItsLibrary)
{
    EXPECT_FALSE(isEisBuilt());
    GTEST_SKIP() << "not installed: libei-dev and libeis-dev, both of 1.4";
}

} // namespace
} // namespace zelvo
