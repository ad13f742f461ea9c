#include "end_to_end/IdentityFixture.h"

namespace zelvo::test {
namespace {

TEST_F(Identity, ofThunar)
{
    auto const folder = desktop.home() / "papers";
    std::filesystem::create_directories(folder);
    open({"thunar", folder.string()}, "papers");
    expectKnown({.title = "papers", .identifier = "thunar", .names = {"org.xfce.Thunar"}});
}

} // namespace
} // namespace zelvo::test
