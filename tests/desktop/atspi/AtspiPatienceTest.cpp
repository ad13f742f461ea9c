#include "desktop/atspi/AtspiFixture.h"

#include <boost/json/array.hpp>
#include <gmock/gmock.h>

#include <signal.h>

#include <chrono>
#include <functional>
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

/// Each look waits for something to appear, but not for much longer than a second.
void lookIntoEmptyChromiums(std::function<void(AccessibilityReader&, int delay)> const& look)
{
    AtspiFixture fixture;
    for (int const delay : {0, 20, 60}) {
        auto const application = fixture.serveWindow({}, {{"toolkit", "Chromium"}, {"delay", delay}});
        auto const began = steady_clock::now();
        Instant const deadline = fixture.clock->now() + 1s;
        auto const reader = fixture.reader(application);
        reader->plan({.deadline = deadline});

        look(*reader, delay);

        auto const took = steady_clock::now() - began;
        EXPECT_GT(took, 500ms) << delay;
        EXPECT_LT(took, 1100ms) << delay;
    }
}

} // namespace

TEST(AtspiPatience, comesBackInTimeFromAnApplicationThatStopsInTheMiddle)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(1000), {{"stopsAfter", 1500}});
    auto const reader = fixture.reader(application);

    Walk const seen = fixture.walk(*reader);

    EXPECT_TRUE(seen.isTruncated);
    EXPECT_GT(seen.elements.size(), 100u);
    EXPECT_GT(seen.took, 1900ms);
    EXPECT_LT(seen.took, 2400ms);
    EXPECT_TRUE(reader->hasFallenSilent());
    ::kill(application.pid, SIGCONT);
}

TEST(AtspiPatience, readsOnWhenAnApplicationWasSilentForAMoment)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(300), {{"stopsAfter", 500}});
    auto const reader = fixture.reader(application);
    std::jthread const waker([&] {
        require("the stop", [&] { return application.calls().size() > 490; });
        waitFor([] { return false; }, 600ms);
        ::kill(application.pid, SIGCONT);
    });

    Walk const seen = fixture.walk(*reader, {.budget = 10s});

    // The pending answer is lost, and calls made ahead are made again.
    EXPECT_FALSE(seen.isTruncated);
    EXPECT_GE(seen.elements.size(), 297u);
    EXPECT_LT(seen.took, 5s);
}

TEST(AtspiPatience, readsAnApplicationThatGoesOnAgain)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(200), {{"stopsAfter", 300}});
    fixture.walk(*fixture.reader(application));

    ::kill(application.pid, SIGCONT);
    Walk const seen = fixture.walk(*fixture.reader(application));

    EXPECT_THAT(seen.elements, SizeIs(201));
    EXPECT_FALSE(seen.isTruncated);
}

TEST(AtspiPatience, asksAFrozenApplicationOneThingAtATime)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(1000));
    auto const reader = fixture.reader(application);
    ASSERT_TRUE(reader->elements(reader->application(), AccessibilityAttribute::windows));
    ::kill(application.pid, SIGSTOP);
    auto const began = steady_clock::now();

    EXPECT_EQ(reader->element(reader->application(), AccessibilityAttribute::menuBar), std::nullopt);

    EXPECT_GT(steady_clock::now() - began, 240ms);
    std::uint64_t const sent = reader->messagesSent();
    Walk const seen = fixture.walk(*reader, {.budget = 1s});
    EXPECT_LT(seen.took, 1300ms);
    EXPECT_LT(reader->messagesSent() - sent, 12u);
    ::kill(application.pid, SIGCONT);
}

TEST(AtspiPatience, findsAFrozenApplicationUnreadableQuickly)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(10));
    ::kill(application.pid, SIGSTOP);
    auto const began = steady_clock::now();

    auto const reader = fixture.reader(application);
    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);

    EXPECT_EQ(windows, std::nullopt);
    EXPECT_LT(steady_clock::now() - began, 1500ms);
    ::kill(application.pid, SIGCONT);
}

TEST(AtspiPatience, doesNotGiveUpASlowApplication)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(100), {{"delay", 180}});
    auto const reader = fixture.reader(application);

    Walk const seen = fixture.walk(*reader, {.budget = 4s});

    EXPECT_TRUE(seen.isTruncated);
    EXPECT_LT(seen.took, 5s); // Finding the windows takes some of it.
    EXPECT_GE(seen.elements.size(), 2u);
    // Little is left to do once nobody waits.
    std::size_t const asked = reader->messagesSent();
    EXPECT_LE(asked, application.calls().size() + 10);
}

TEST(AtspiPatience, comesBackInTimeFromOneThatAnswersAtTheLastMoment)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(100), {{"delay", 240}});

    auto const reader = fixture.reader(application);
    Walk const seen = fixture.walk(*reader, {.budget = 2s});

    EXPECT_LT(seen.took, 2600ms);
}

TEST(AtspiPatience, readsSomethingOfAListThatTakesLongerThanThereIsTime)
{
    AtspiFixture fixture;
    for (std::string const toolkit : {"gtk", "Chromium"}) {
        auto const application = fixture.serveWindow(buttons(5000), {{"toolkit", toolkit}, {"delay", 1}});
        auto const reader = fixture.reader(application);

        Walk const seen = fixture.walk(*reader);

        EXPECT_GT(seen.elements.size(), 20u) << toolkit;
        EXPECT_LT(seen.took, 2600ms) << toolkit;
        EXPECT_TRUE(seen.isTruncated || reader->hasFallenSilent()) << toolkit;
    }
}

TEST(AtspiPatience, saysThatSomethingIsMissingWhenItWasTooLateToAsk)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(buttons(1));
    auto const reader = fixture.reader(application);
    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);
    ASSERT_TRUE(windows);
    reader->plan({.maxDepth = 25, .deadline = fixture.clock->now() + 10s});
    ASSERT_FALSE(reader->hasFallenSilent());

    reader->plan({.maxDepth = 25, .deadline = fixture.clock->now()});

    // Even the last element of a walk must not look empty.
    EXPECT_EQ(reader->elements(windows->front(), AccessibilityAttribute::children), std::nullopt);
    EXPECT_TRUE(reader->hasFallenSilent());
}

TEST(AtspiPatience, doesNotWaitForAnApplicationThatHasEnded)
{
    AtspiFixture fixture;
    for (bool const direct : {false, true}) {
        auto const application =
            fixture.serveWindow(buttons(1000), {{"leavesAfter", 1500}, {"direct", direct}});
        auto const reader = fixture.reader(application);

        Walk const seen = fixture.walk(*reader, {.budget = 10s});

        EXPECT_LT(seen.took, 2s) << direct;
        EXPECT_GT(seen.elements.size(), 50u) << direct;
    }
}

TEST(AtspiPatience, looksIntoAChromiumThatStaysEmptyForOneSecondInAll)
{
    lookIntoEmptyChromiums([](AccessibilityReader& reader, int delay) {
        auto const seen = reader.elementAt({10, 10});
        EXPECT_TRUE(!seen || reader.text(*seen, AccessibilityAttribute::role) == "AXWindow") << delay;
    });
}

TEST(AtspiPatience, waitsForTheFocusInAChromiumThatStaysEmptyForOneSecondInAll)
{
    lookIntoEmptyChromiums([](AccessibilityReader& reader, int delay) {
        EXPECT_EQ(reader.element(reader.application(), AccessibilityAttribute::focusedUiElement),
                  std::nullopt)
            << delay;
    });
}

TEST(AtspiPatience, leavesTimeToDescribeWhatAChromiumShows)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow({}, {{"toolkit", "Chromium"}});
    auto const reader = fixture.reader(application);
    reader->plan({.deadline = fixture.clock->now() + 1s});
    reader->elementAt({10, 10});

    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);

    ASSERT_TRUE(windows && windows->size() == 1);
    EXPECT_EQ(reader->text(windows->front(), AccessibilityAttribute::title), "window");
}

TEST(AtspiPatience, isNotHeldUpByAFrozenProcessInside)
{
    AtspiFixture fixture;
    auto const other = fixture.serve({{"tree", {{"role", 39}, {"name", "inside"}}}});
    std::string const name = fixture.desktop.processes().output(other.pid);
    std::string const busName = name.substr(name.find(':'), name.find('\n', name.find(':')) - name.find(':'));
    json::array children = {
        {{"role", 39}, {"foreign", busName}, {"path", "/org/a11y/atspi/accessible/root"}}};
    children.push_back(buttons(200).front());
    auto const application = fixture.serveWindow(children);
    ::kill(other.pid, SIGSTOP);

    auto const reader = fixture.reader(application);
    Walk const seen = fixture.walk(*reader, {.allowsProcess = [](std::int32_t) { return true; }});

    EXPECT_THAT(seen.elements, SizeIs(201));
    EXPECT_FALSE(seen.isTruncated);
    EXPECT_LT(seen.took, 1500ms);
    EXPECT_TRUE(reader->hasFallenSilent()); // For all that is known, there is more in it.
    ::kill(other.pid, SIGCONT);
}

} // namespace zelvo::test
