#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(EisInput, needsItsLibrary)
{
    GTEST_SKIP() << "not installed: libei-dev and libeis-dev";
}

} // namespace
} // namespace zelvo
