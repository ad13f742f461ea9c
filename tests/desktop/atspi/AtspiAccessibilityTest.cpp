#include "desktop/atspi/AtspiDesk.h"

#include <boost/json/array.hpp>
#include <gmock/gmock.h>

#include <atomic>

namespace zelvo::test {

namespace {

using testing::HasSubstr;
using enum AccessibilityAttribute;

std::string status(AtspiDesk& desk)
{
    return desk.desktop.run({"gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path",
                             "/org/a11y/bus", "--method", "org.freedesktop.DBus.Properties.Get",
                             "org.a11y.Status", "IsEnabled"});
}

} // namespace

TEST(AtspiAccessibility, switchesOnAndBack)
{
    AtspiDesk desk({.windowManager = false, .accessibility = false});
    ASSERT_THAT(status(desk), HasSubstr("false"));

    desk.live.run(desk.accessibility->switchOn());
    EXPECT_THAT(status(desk), HasSubstr("true"));

    desk.live.run(desk.accessibility->switchOff());
    EXPECT_THAT(status(desk), HasSubstr("false"));
}

TEST(AtspiAccessibility, leavesOnWhatSomebodyElseSwitchedOn)
{
    AtspiDesk desk;
    ASSERT_THAT(status(desk), HasSubstr("true"));

    desk.live.run(desk.accessibility->switchOn());
    desk.live.run(desk.accessibility->switchOff());

    EXPECT_THAT(status(desk), HasSubstr("true"));
}

TEST(AtspiAccessibility, tellsOnceOfAProcessThatStartedTooEarly)
{
    AtspiDesk desk;
    std::atomic<int> told = 0;
    std::atomic<std::int32_t> last = 0;
    desk.accessibility->observeUnreadable([&](std::int32_t pid) {
        last = pid;
        ++told;
    });
    pid_t const early = desk.desktop.start({"sleep", "100"});
    auto const readable = desk.serveWindow({});
    waitFor([] { return false; }, 30ms); // A start is told in steps of 10 ms.
    desk.live.run(desk.accessibility->switchOn());
    waitFor([] { return false; }, 30ms);
    pid_t const late = desk.desktop.start({"sleep", "100"});

    for (int at = 0; at < 2; ++at)
        for (pid_t const pid : {early, late, readable.pid, 1'999'999})
            desk.accessibility->reader(pid, 250ms);

    EXPECT_TRUE(waitFor([&] { return told > 0; }, 1s));
    EXPECT_FALSE(waitFor([&] { return told > 1; }, 100ms));
    EXPECT_EQ(last, early);
}

TEST(AtspiAccessibility, wakesAnApplicationByAskingEachWindowOnce)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow({{{"role", 43}, {"name", "b"}, {"repeat", 5}}});
    auto const reader = desk.reader(application);

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
    AtspiDesk desk;
    auto const application = desk.serve({{"tree", {{"role", 75}}}});
    auto const reader = desk.reader(application);

    EXPECT_FALSE(reader->setFlag(reader->application(), manualAccessibility, true));
}

TEST(AtspiAccessibility, readsNothingWithoutABus)
{
    AtspiDesk desk({.windowManager = false, .sessionBus = false});
    std::atomic<int> told = 0;
    desk.accessibility->observeUnreadable([&](std::int32_t) { ++told; });

    auto const reader = desk.accessibility->reader(::getpid(), 250ms);

    EXPECT_EQ(reader->text(reader->application(), role), std::nullopt);
    EXPECT_FALSE(waitFor([&] { return told > 0; }, 100ms));
    desk.live.run(desk.accessibility->switchOn());
}

} // namespace zelvo::test
