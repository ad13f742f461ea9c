#include "desktop/atspi/AtspiFixture.h"

#include <boost/json/array.hpp>
#include <gtest/gtest.h>

#include <atomic>

namespace zelvo::test {

namespace {

using enum AccessibilityAttribute;

} // namespace

TEST(AtspiAccessibility, switchesOnAndBack)
{
    AtspiFixture fixture({.windowManager = false, .accessibility = false});
    ASSERT_FALSE(fixture.desktop.isAccessibilityEnabled());

    fixture.live.run(fixture.accessibility->switchOn());
    EXPECT_TRUE(fixture.desktop.isAccessibilityEnabled());

    fixture.live.run(fixture.accessibility->switchOff());
    EXPECT_FALSE(fixture.desktop.isAccessibilityEnabled());
}

TEST(AtspiAccessibility, leavesOnWhatSomebodyElseSwitchedOn)
{
    AtspiFixture fixture;
    ASSERT_TRUE(fixture.desktop.isAccessibilityEnabled());

    fixture.live.run(fixture.accessibility->switchOn());
    fixture.live.run(fixture.accessibility->switchOff());

    EXPECT_TRUE(fixture.desktop.isAccessibilityEnabled());
}

TEST(AtspiAccessibility, tellsOnceOfAProcessThatStartedTooEarly)
{
    AtspiFixture fixture;
    std::atomic<int> told = 0;
    std::atomic<std::int32_t> last = 0;
    fixture.accessibility->observeUnreadable([&](std::int32_t pid) {
        last = pid;
        ++told;
    });
    pid_t const early = fixture.desktop.start({"sleep", "100"});
    auto const readable = fixture.serveWindow({});
    waitFor([] { return false; }, 30ms); // A start is told in steps of 10 ms.
    fixture.live.run(fixture.accessibility->switchOn());
    waitFor([] { return false; }, 30ms);
    pid_t const late = fixture.desktop.start({"sleep", "100"});

    for (int at = 0; at < 2; ++at)
        for (pid_t const pid : {early, late, readable.pid, 1'999'999})
            fixture.accessibility->reader(pid, 250ms);

    EXPECT_TRUE(waitFor([&] { return told > 0; }, 1s));
    EXPECT_FALSE(waitFor([&] { return told > 1; }, 100ms));
    EXPECT_EQ(last, early);
    EXPECT_EQ(fixture.unreadable, 1);
    EXPECT_EQ(fixture.accessibility->unreadableProcesses(), std::vector<std::int32_t>{early});
}

TEST(AtspiAccessibility, namesAnUnreadableProcessOnlyWhileItRuns)
{
    AtspiFixture fixture;
    fixture.accessibility->observeUnreadable([](std::int32_t) {});
    pid_t const early = fixture.desktop.start({"sleep", "100"});
    waitFor([] { return false; }, 30ms); // Starts are known in steps of 10 ms.
    fixture.live.run(fixture.accessibility->switchOn());
    fixture.accessibility->reader(early, 250ms);
    ASSERT_EQ(fixture.accessibility->unreadableProcesses().size(), 1U);

    fixture.desktop.processes().end(early, SIGKILL);

    EXPECT_TRUE(fixture.accessibility->unreadableProcesses().empty());
}

TEST(AtspiAccessibility, wakesAnApplicationByAskingEachWindowOnce)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow({{{"role", 43}, {"name", "b"}, {"repeat", 5}}});
    auto const reader = fixture.reader(application);

    EXPECT_TRUE(reader->setFlag(reader->application(), manualAccessibility, true));

    EXPECT_EQ(application.count("1 GetAttributes"), 1u);
    EXPECT_EQ(application.countOf("GetAttributes"), 1u);
    EXPECT_TRUE(reader->setFlag(reader->application(), manualAccessibility, false));
    EXPECT_FALSE(reader->setFlag(reader->application(), enhancedUserInterface, true));
    EXPECT_FALSE(reader->setFlag(reader->application(), enhancedUserInterface, false));
    EXPECT_EQ(reader->flag(reader->application(), manualAccessibility), std::nullopt);
    EXPECT_EQ(reader->flag(reader->application(), enhancedUserInterface), std::nullopt);
    EXPECT_EQ(application.countOf("GetAttributes"), 1u);
}

TEST(AtspiAccessibility, doesNotWakeAnApplicationWithoutWindows)
{
    AtspiFixture fixture;
    auto const application = fixture.serve({{"tree", {{"role", 75}}}});
    auto const reader = fixture.reader(application);

    EXPECT_FALSE(reader->setFlag(reader->application(), manualAccessibility, true));
}

TEST(AtspiAccessibility, readsNothingWithoutABus)
{
    AtspiFixture fixture({.windowManager = false, .sessionBus = false});
    std::atomic<int> told = 0;
    fixture.accessibility->observeUnreadable([&](std::int32_t) { ++told; });

    auto const reader = fixture.accessibility->reader(::getpid(), 250ms);

    EXPECT_EQ(reader->text(reader->application(), role), std::nullopt);
    EXPECT_FALSE(waitFor([&] { return told > 0; }, 100ms));
    fixture.live.run(fixture.accessibility->switchOn());
}

} // namespace zelvo::test
