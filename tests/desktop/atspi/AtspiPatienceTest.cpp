#include "desktop/atspi/AtspiDesk.h"

#include <boost/json/array.hpp>
#include <gmock/gmock.h>

#include <signal.h>

#include <chrono>
#include <thread>

namespace zelvo::test {

namespace {

namespace json = boost::json;
using std::chrono::steady_clock;
using testing::IsEmpty;
using testing::SizeIs;

json::array buttons(int count)
{
    return {{{"role", 43}, {"name", "b"}, {"repeat", count}}};
}

} // namespace

TEST(AtspiPatience, comesBackInTimeFromAnApplicationThatStopsInTheMiddle)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(1000), {{"stopsAfter", 1500}});
    auto const reader = desk.reader(application);

    Walk const seen = desk.walk(*reader);

    EXPECT_TRUE(seen.isTruncated);
    EXPECT_GT(seen.elements.size(), 100u);
    EXPECT_GT(seen.took, 1900ms);
    EXPECT_LT(seen.took, 2400ms);
    EXPECT_TRUE(reader->hasFallenSilent());
    ::kill(application.pid, SIGCONT);
}

TEST(AtspiPatience, readsOnWhenAnApplicationWasSilentForAMoment)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(300), {{"stopsAfter", 500}});
    auto const reader = desk.reader(application);
    std::jthread const waker([&] {
        require("the stop", [&] { return application.calls().size() > 490; });
        waitFor([] { return false; }, 600ms);
        ::kill(application.pid, SIGCONT);
    });

    Walk const seen = desk.walk(*reader, {.budget = 10s});

    // What was being waited for is lost, and what was asked ahead is asked again.
    EXPECT_FALSE(seen.isTruncated);
    EXPECT_GE(seen.elements.size(), 297u);
    EXPECT_LT(seen.took, 5s);
}

TEST(AtspiPatience, readsAnApplicationThatGoesOnAgain)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(200), {{"stopsAfter", 300}});
    desk.walk(*desk.reader(application));

    ::kill(application.pid, SIGCONT);
    Walk const seen = desk.walk(*desk.reader(application));

    EXPECT_THAT(seen.elements, SizeIs(201));
    EXPECT_FALSE(seen.isTruncated);
}

TEST(AtspiPatience, asksAFrozenApplicationOneThingAtATime)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(1000));
    auto const reader = desk.reader(application);
    ASSERT_TRUE(reader->elements(reader->application(), AccessibilityAttribute::windows));
    ::kill(application.pid, SIGSTOP);
    auto const began = steady_clock::now();

    EXPECT_EQ(reader->element(reader->application(), AccessibilityAttribute::menuBar), std::nullopt);

    EXPECT_GT(steady_clock::now() - began, 240ms);
    std::uint64_t const sent = reader->messagesSent();
    Walk const seen = desk.walk(*reader, {.budget = 1s});
    EXPECT_LT(seen.took, 1300ms);
    EXPECT_LT(reader->messagesSent() - sent, 12u);
    ::kill(application.pid, SIGCONT);
}

TEST(AtspiPatience, findsAFrozenApplicationUnreadableQuickly)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(10));
    ::kill(application.pid, SIGSTOP);
    auto const began = steady_clock::now();

    auto const reader = desk.reader(application);
    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);

    EXPECT_EQ(windows, std::nullopt);
    EXPECT_LT(steady_clock::now() - began, 1500ms);
    ::kill(application.pid, SIGCONT);
}

TEST(AtspiPatience, doesNotGiveUpASlowApplication)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(100), {{"delay", 180}});
    auto const reader = desk.reader(application);

    Walk const seen = desk.walk(*reader, {.budget = 4s});

    EXPECT_TRUE(seen.isTruncated);
    EXPECT_LT(seen.took, 5s); // Finding the windows takes some of it.
    EXPECT_GE(seen.elements.size(), 2u);
    // What it is left with when nobody waits any more is little.
    std::size_t const asked = reader->messagesSent();
    EXPECT_LE(asked, application.calls().size() + 10);
}

TEST(AtspiPatience, comesBackInTimeFromOneThatAnswersAtTheLastMoment)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(100), {{"delay", 240}});

    auto const reader = desk.reader(application);
    Walk const seen = desk.walk(*reader, {.budget = 2s});

    EXPECT_LT(seen.took, 2600ms);
}

TEST(AtspiPatience, readsSomethingOfAListThatTakesLongerThanThereIsTime)
{
    AtspiDesk desk;
    for (std::string const toolkit : {"gtk", "Chromium"}) {
        auto const application = desk.serveWindow(buttons(5000), {{"toolkit", toolkit}, {"delay", 1}});
        auto const reader = desk.reader(application);

        Walk const seen = desk.walk(*reader);

        EXPECT_GT(seen.elements.size(), 20u) << toolkit;
        EXPECT_LT(seen.took, 2600ms) << toolkit;
        EXPECT_TRUE(seen.isTruncated || reader->hasFallenSilent()) << toolkit;
    }
}

TEST(AtspiPatience, saysThatSomethingIsMissingWhenItWasTooLateToAsk)
{
    AtspiDesk desk;
    auto const application = desk.serveWindow(buttons(1));
    auto const reader = desk.reader(application);
    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);
    ASSERT_TRUE(windows);
    reader->plan({.maxDepth = 25, .deadline = desk.clock->now() + 10s});
    ASSERT_FALSE(reader->hasFallenSilent());

    reader->plan({.maxDepth = 25, .deadline = desk.clock->now()});

    // Not even an element that is the last of a walk looks as if it held nothing.
    EXPECT_EQ(reader->elements(windows->front(), AccessibilityAttribute::children), std::nullopt);
    EXPECT_TRUE(reader->hasFallenSilent());
}

TEST(AtspiPatience, doesNotWaitForAnApplicationThatHasEnded)
{
    AtspiDesk desk;
    for (bool const direct : {false, true}) {
        auto const application = desk.serveWindow(buttons(1000), {{"leavesAfter", 1500}, {"direct", direct}});
        auto const reader = desk.reader(application);

        Walk const seen = desk.walk(*reader, {.budget = 10s});

        EXPECT_LT(seen.took, 2s) << direct;
        EXPECT_GT(seen.elements.size(), 50u) << direct;
    }
}

TEST(AtspiPatience, isNotHeldUpByAFrozenProcessInside)
{
    AtspiDesk desk;
    auto const other = desk.serve({{"tree", {{"role", 39}, {"name", "inside"}}}});
    std::string const name = desk.desktop.processes().output(other.pid);
    std::string const busName = name.substr(name.find(':'), name.find('\n', name.find(':')) - name.find(':'));
    json::array children = {
        {{"role", 39}, {"foreign", busName}, {"path", "/org/a11y/atspi/accessible/root"}}};
    children.push_back(buttons(200).front());
    auto const application = desk.serveWindow(children);
    ::kill(other.pid, SIGSTOP);

    auto const reader = desk.reader(application);
    Walk const seen = desk.walk(*reader, {.allowsProcess = [](std::int32_t) { return true; }});

    EXPECT_THAT(seen.elements, SizeIs(201));
    EXPECT_FALSE(seen.isTruncated);
    EXPECT_LT(seen.took, 1500ms);
    EXPECT_TRUE(reader->hasFallenSilent()); // For all that is known, there is more in it.
    ::kill(other.pid, SIGCONT);
}

} // namespace zelvo::test
