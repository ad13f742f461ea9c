#include "platform/linux/wayland/input/LentPasteboard.h"

#include "fakes/FakeLendableClipboard.h"
#include "fakes/Run.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(LentPasteboard, reportsWhatItPutsBackAsSomebodyElses)
{
    asio::io_context io;
    FakeLendableClipboard inner;
    LentPasteboard lent(inner);

    run(io, lent.lend("pasted"));
    std::int64_t const pasted = lent.changeCount();
    run(io, lent.putBack({{"text/html", "somebody's"}}));
    inner.known = {{.count = pasted, .isOurs = true}, {.count = lent.changeCount(), .isOurs = true}};

    auto const changes = run(io, lent.changesAfter(0));

    ASSERT_EQ(changes.size(), 2U);
    EXPECT_TRUE(changes[0].isOurs);
    EXPECT_FALSE(changes[1].isOurs);
    EXPECT_TRUE(changes[1].isManagers);
}

TEST(LentPasteboard, takesItsNextTextForItsOwnAgain)
{
    asio::io_context io;
    FakeLendableClipboard inner;
    LentPasteboard lent(inner);

    run(io, lent.putBack({{"text/html", "somebody's"}}));
    run(io, lent.setText("ours"));
    inner.known = {{.count = lent.changeCount(), .isOurs = true}};

    EXPECT_TRUE(run(io, lent.changesAfter(0)).at(0).isOurs);
}

} // namespace
} // namespace zelvo
