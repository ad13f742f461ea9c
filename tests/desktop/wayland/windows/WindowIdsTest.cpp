#include "platform/linux/wayland/windows/WindowIds.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

WindowsNow windows(std::vector<std::string> const& ids)
{
    WindowsNow now;
    for (std::string const& id : ids)
        now.windows.push_back({.id = id});
    return now;
}

TEST(WindowIds, riseInTheOrderInWhichWindowsAppear)
{
    WindowIds ids;

    ids.note(windows({"b", "a"}));
    ids.note(windows({"c", "a", "b"}));

    EXPECT_EQ(ids.idOf("b"), 1u);
    EXPECT_EQ(ids.idOf("a"), 2u);
    EXPECT_EQ(ids.idOf("c"), 3u);
    EXPECT_EQ(ids.windowOf(2), "a");
}

TEST(WindowIds, areUnknownForNumbersNeverGiven)
{
    WindowIds ids;
    ids.idOf("a");

    EXPECT_EQ(ids.windowOf(0), std::nullopt);
    EXPECT_EQ(ids.windowOf(2), std::nullopt);
}

TEST(WindowIds, areNotUsedAgainForAnotherWindow)
{
    WindowIds ids;
    ids.note(windows({"a"}));
    ids.note(windows({}));
    ids.note(windows({"b"}));

    EXPECT_EQ(ids.idOf("b"), 2u);
}

TEST(WindowIds, stayWhenAnOlderLookIsNotedAfterALaterOne)
{
    WindowIds ids;
    ids.note(windows({"a", "b"}));
    ids.note(windows({"a"}));

    EXPECT_EQ(ids.idOf("b"), 2u);
}

TEST(WindowIds, skipZeroAndWhatIsInUseWhenTheyBeginAgain)
{
    WindowIds ids(UINT32_MAX);
    EXPECT_EQ(ids.idOf("last"), UINT32_MAX);
    EXPECT_EQ(ids.idOf("first"), 1u);

    WindowIds again(1);
    again.idOf("kept");
    EXPECT_EQ(again.idOf("next"), 2u);
}

TEST(WindowIds, areBoundedButKeptForWindowsThatExist)
{
    WindowIds ids;
    for (int look = 0; look < 200; ++look) {
        WindowsNow now = windows({"kept"});
        for (int i = 0; i < 100; ++i)
            now.windows.push_back({.id = std::to_string(look) + "." + std::to_string(i)});
        ids.note(now);
    }

    EXPECT_EQ(ids.idOf("kept"), 1u);
    EXPECT_EQ(ids.windowOf(2), std::nullopt);
    EXPECT_LT(ids.size(), 2 * WindowIds::maxRemembered);
}

} // namespace
} // namespace zelvo::test
