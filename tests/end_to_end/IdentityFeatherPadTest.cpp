#include "end_to_end/IdentityFixture.h"

namespace zelvo::test {
namespace {

TEST_F(Identity, ofAQtEditor)
{
    write(desktop.home() / "draft.txt", "draft");
    open({"featherpad", "--standalone", (desktop.home() / "draft.txt").string()}, "draft.txt");
    expectKnown({.title = "draft.txt", .identifier = "featherpad", .names = {"FeatherPad"}});
}

} // namespace
} // namespace zelvo::test
