#include "end_to_end/IdentityFixture.h"

namespace zelvo::test {
namespace {

TEST_F(Identity, ofChromium)
{
    TestApplication const browser = letter(desktop, Toolkit::chromium);
    open(browser.command, browser.window.title);
    expectKnown({.title = browser.window.title, .identifier = "chromium", .names = {"Chromium"}});
}

} // namespace
} // namespace zelvo::test
