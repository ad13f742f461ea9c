#include "end_to_end/ConfirmingFixture.h"

namespace zelvo::test {
namespace {

TEST_F(Confirming, asksBeforePayIsClickedInAPageThatWasNeverRead)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::chromium);
    require("the page", [&] { return isOpen("Web letter: unpaid"); }, 60s);
    json::array const click{{{"type", "click"}, {"x", 640}, {"y", 600}}}; // The button fills the page.

    EXPECT_EQ(askedAnd("Escape", click), "denied_by_user");
    EXPECT_TRUE(isOpen("Web letter: unpaid"));

    EXPECT_EQ(askedAnd("Return", click), "ok");
    EXPECT_TRUE(waitFor([&] { return isOpen("Web letter: paid 1"); }));
}

} // namespace
} // namespace zelvo::test
