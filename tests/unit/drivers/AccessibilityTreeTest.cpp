#include "drivers/AccessibilityTree.h"

#include "fakes/ErrorOf.h"
#include "fakes/FakeAccessibility.h"
#include "fakes/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Attribute = AccessibilityAttribute;

FakeElement button(std::string title, double size = 30)
{
    return {.role = "AXButton", .title = std::move(title), .size = DesktopSize{size, size}};
}

FakeElement windowOf(std::vector<FakeElement> children, std::string title = "window")
{
    return {.role = "AXWindow", .title = std::move(title), .children = std::move(children)};
}

std::vector<FakeElement> titleBar()
{
    FakeElement small = button("close");
    small.size = DesktopSize{14, 16};
    return {small, small, small};
}

class AccessibilityTreeTest : public testing::Test {
protected:
    static constexpr std::int32_t pid = 100;

    FakePlatform platform;
    FakeAccessibility system;
    HiddenAppsStore hiddenApps{platform.contexts.agent, platform.settings};
    ElectronAccessibility electron{platform.contexts, system};
    AccessibilityTree tree{{.contexts = platform.contexts,
                            .clock = platform.time,
                            .accessibility = system,
                            .access = platform.systemAccess,
                            .workspace = platform.desktop,
                            .hiddenApps = hiddenApps,
                            .electron = electron,
                            .ownPid = platform.machineFacts.pid}};
    std::optional<UiTreeSnapshot> late;

    void SetUp() override
    {
        platform.desktop.front =
            RunningApplication{.pid = pid, .names = {{"org.example.app"}}, .localizedName = "Example"};
        system.applications[pid].focusedWindow = windowOf({button("Send")});
    }
    FakeApplication& application() { return system.applications[pid]; }
    void beChromium()
    {
        platform.desktop.front->names = {{"com.google.Chrome"}};
        application().accepts = {{Attribute::manualAccessibility, true}};
    }
    Task<UiTreeSnapshot> ask(TreeScope scope = TreeScope::frontmost,
                             bool interactiveOnly = true,
                             std::optional<std::int32_t> target = {})
    {
        return tree.snapshot(scope, interactiveOnly, target);
    }
    UiTreeSnapshot take(TreeScope scope = TreeScope::frontmost,
                        bool interactiveOnly = true,
                        std::optional<std::int32_t> target = {})
    {
        return run(platform.io, ask(scope, interactiveOnly, target));
    }
    /// Starts a snapshot that needs time; the result is stored in `late`.
    void start(TreeScope scope = TreeScope::frontmost)
    {
        asio::co_spawn(platform.io, ask(scope),
                       [this](std::exception_ptr, UiTreeSnapshot taken) { late = std::move(taken); });
        platform.settle();
    }
    static std::vector<std::string> titles(UiTreeSnapshot const& snapshot)
    {
        std::vector<std::string> all;
        for (UiElementInfo const& info : snapshot.elements)
            all.push_back(info.title.value_or("-"));
        return all;
    }
};

TEST_F(AccessibilityTreeTest, returnsTheApplicationItsElementsAndTheTime)
{
    UiTreeSnapshot const snapshot = take();
    EXPECT_EQ(snapshot.app, (UiTreeSnapshot::App{"org.example.app", "Example"}));
    EXPECT_THAT(titles(snapshot), ElementsAre("Send"));
    EXPECT_FALSE(snapshot.truncated);
    EXPECT_EQ(snapshot.createdAt, platform.time.date());
}

TEST_F(AccessibilityTreeTest, givesEachSnapshotADifferentId)
{
    std::string const first = take().snapshotId;
    EXPECT_TRUE(std::regex_match(first, std::regex("snp_[0-9A-F]{8}-[0-9A-F]{3}"))) << first;
    EXPECT_NE(take().snapshotId, first);
}

TEST_F(AccessibilityTreeTest, needsThePermission)
{
    platform.systemAccess.granted.accessibility = false;
    EXPECT_EQ(errorOf([&] { run(platform.io, ask()); }), AgentError::permissionMissing);
    EXPECT_THAT(system.readers, IsEmpty());
}

TEST_F(AccessibilityTreeTest, asksForThePermissionBeforeItLooksForTheApplication)
{
    platform.systemAccess.granted.accessibility = false;
    platform.desktop.front.reset();
    EXPECT_EQ(errorOf([&] { run(platform.io, ask()); }), AgentError::permissionMissing);
}

TEST_F(AccessibilityTreeTest, givesEachMessageAQuarterOfASecond)
{
    take();
    EXPECT_THAT(system.timeouts, ElementsAre(250ms));
}

TEST_F(AccessibilityTreeTest, needsAnApplicationInFront)
{
    platform.desktop.front.reset();
    EXPECT_EQ(errorOf([&] { run(platform.io, ask()); }), AgentError::machineUnavailable);
}

TEST_F(AccessibilityTreeTest, needsTheApplicationThatIsAskedFor)
{
    EXPECT_EQ(errorOf([&] { run(platform.io, ask(TreeScope::frontmost, true, 555)); }),
              AgentError::machineUnavailable);
}

TEST_F(AccessibilityTreeTest, readsTheApplicationThatIsAskedFor)
{
    platform.desktop.running[200] = {.pid = 200, .names = {{"org.other"}}};
    system.applications[200].focusedWindow = windowOf({button("Other")});
    UiTreeSnapshot const snapshot = take(TreeScope::frontmost, true, 200);
    EXPECT_THAT(titles(snapshot), ElementsAre("Other"));
    EXPECT_EQ(snapshot.app, (UiTreeSnapshot::App{"org.other", ""}));
    EXPECT_THAT(system.readers, ElementsAre(200));
}

TEST_F(AccessibilityTreeTest, doesNotTouchAHiddenApplication)
{
    platform.desktop.front->names = {{"org.example.app", "Example-class"}};
    for (char const* name : {"org.example.app", "Example-class"}) {
        run(platform.io, hiddenApps.add(name));
        EXPECT_EQ(errorOf([&] { run(platform.io, ask()); }), AgentError::hiddenAppActive);
        run(platform.io, hiddenApps.remove(name));
    }
    EXPECT_THAT(system.readers, IsEmpty());
}

/// Elements are read by process.
TEST_F(AccessibilityTreeTest, doesNotTouchAProcessThatHoldsAHiddenApplicationToo)
{
    std::int32_t const pid = platform.desktop.front->pid;
    platform.desktop.running[pid] = {.pid = pid, .names = {{"org.example.app"}, {"org.example.sibling"}}};
    run(platform.io, hiddenApps.add("org.example.Sibling"));
    EXPECT_EQ(errorOf([&] { run(platform.io, ask()); }), AgentError::hiddenAppActive);
    run(platform.io, hiddenApps.remove("org.example.Sibling"));
    EXPECT_EQ(errorOf([&] { run(platform.io, ask()); }), std::nullopt);
}

TEST_F(AccessibilityTreeTest, asksTheStoredListEachTime)
{
    take();
    platform.settings.contents["dev.zelvo.hiddenApps"] = R"(["org.example.app"])";
    EXPECT_EQ(errorOf([&] { run(platform.io, ask()); }), AgentError::hiddenAppActive);
    platform.settings.contents.clear();
    EXPECT_THAT(titles(take()), ElementsAre("Send"));
}

TEST_F(AccessibilityTreeTest, neverRefusesAnApplicationWithoutAnIdentifierAsHidden)
{
    platform.desktop.front->names = {};
    run(platform.io, hiddenApps.add("org.example.app"));
    UiTreeSnapshot const snapshot = take();
    EXPECT_EQ(snapshot.app, std::nullopt);
    EXPECT_THAT(titles(snapshot), ElementsAre("Send"));
}

TEST_F(AccessibilityTreeTest, startsAtTheApplicationWithoutAFocusedWindow)
{
    application().focusedWindow.reset();
    application().itself.children = {windowOf({button("below")})};
    EXPECT_THAT(titles(take()), ElementsAre("below"));
}

TEST_F(AccessibilityTreeTest, readsAllWindowsInTheirOrder)
{
    application().windows = {windowOf({button("a")}), windowOf({button("b")})};
    UiTreeSnapshot const snapshot = take(TreeScope::allWindows);
    EXPECT_THAT(titles(snapshot), ElementsAre("a", "b"));
    EXPECT_EQ(snapshot.elements.back().id, "e1"); // Numbered across all windows.
}

TEST_F(AccessibilityTreeTest, givesAnEmptyListWithoutWindows)
{
    for (auto const& windows :
         {std::optional(std::vector<FakeElement>{}), std::optional<std::vector<FakeElement>>{}}) {
        application().windows = windows;
        UiTreeSnapshot const snapshot = take(TreeScope::allWindows);
        EXPECT_THAT(snapshot.elements, IsEmpty());
        EXPECT_FALSE(snapshot.truncated);
    }
}

TEST_F(AccessibilityTreeTest, givesAnEmptyListOfAYoungChromiumOnlyAfterTheRetries)
{
    beChromium();
    application().accepts = {}; // It refuses to be woken.
    platform.desktop.front->launchDate = platform.time.date();
    start(TreeScope::allWindows);
    platform.time.advance(12 * 300ms - 1ms);
    EXPECT_FALSE(late);
    platform.time.advance(1ms);
    ASSERT_TRUE(late);
    EXPECT_THAT(late->elements, IsEmpty());
    EXPECT_FALSE(late->truncated);
}

TEST_F(AccessibilityTreeTest, readsTheMenuBar)
{
    application().menuBar =
        FakeElement{.role = "AXMenuBar", .children = {{FakeElement{.role = "AXMenuItem", .title = "File"}}}};
    EXPECT_THAT(titles(take(TreeScope::menuBar)), ElementsAre("File"));
}

TEST_F(AccessibilityTreeTest, startsAtTheApplicationWithoutAMenuBar)
{
    application().itself.children = {windowOf({button("below")})};
    EXPECT_THAT(titles(take(TreeScope::menuBar)), ElementsAre("below"));
}

TEST_F(AccessibilityTreeTest, stopsAtTheRootThatTruncates)
{
    std::vector<FakeElement> const many(1600, button("b"));
    application().windows = {windowOf(many), windowOf({button("second")})};
    UiTreeSnapshot const snapshot = take(TreeScope::allWindows);
    EXPECT_TRUE(snapshot.truncated);
    EXPECT_THAT(snapshot.elements, SizeIs(1500));
}

TEST_F(AccessibilityTreeTest, isTruncatedWhenTheApplicationFellSilent)
{
    application().isSilent = true;
    UiTreeSnapshot const snapshot = take();
    EXPECT_THAT(titles(snapshot), ElementsAre("Send"));
    EXPECT_TRUE(snapshot.truncated);
}

TEST_F(AccessibilityTreeTest, doesNotWakeWhatIsNoChromium)
{
    application().focusedWindow = windowOf({});
    EXPECT_THAT(take().elements, IsEmpty());
    EXPECT_THAT(system.written, IsEmpty());
    EXPECT_THAT(system.readers, SizeIs(1));
}

TEST_F(AccessibilityTreeTest, walksAFreshlyWokenChromiumAgainUntilItShowsMoreThanItsTitleBar)
{
    beChromium();
    application().focusedWindow = windowOf(titleBar());
    start();
    platform.time.advance(150ms - 1ms);
    EXPECT_THAT(system.plans, IsEmpty()); // It waits before the first walk.
    platform.time.advance(1ms);
    EXPECT_THAT(system.plans, SizeIs(1));
    platform.time.advance(3 * 300ms);
    EXPECT_THAT(system.plans, SizeIs(4));
    EXPECT_FALSE(late);

    auto page = titleBar();
    page.push_back(button("Pay"));
    application().focusedWindow = windowOf(page);
    platform.time.advance(300ms);

    ASSERT_TRUE(late);
    EXPECT_THAT(titles(*late), ElementsAre("close", "close", "close", "Pay"));
    EXPECT_THAT(system.plans, SizeIs(5));
}

TEST_F(AccessibilityTreeTest, walksThirteenTimesAtMost)
{
    beChromium();
    application().focusedWindow = windowOf(titleBar());
    start();
    platform.time.advance(150ms + 12 * 300ms - 1ms);
    EXPECT_FALSE(late);
    platform.time.advance(1ms);
    ASSERT_TRUE(late);
    EXPECT_THAT(system.plans, SizeIs(13));
    EXPECT_THAT(late->elements, SizeIs(3)); // The last walk counts, whatever its result.
    EXPECT_EQ(late->createdAt, platform.time.date());
}

TEST_F(AccessibilityTreeTest, goesOnAtOnceAfterACancelledWait)
{
    beChromium();
    application().focusedWindow = windowOf(titleBar());
    TaskHandle task = spawn(platform.io.get_executor(), [this]() -> Task<> { late = co_await ask(); });
    platform.settle();
    ASSERT_THAT(system.plans, IsEmpty());
    for (std::size_t walks = 1; walks <= 3; ++walks) {
        task.cancel();
        platform.settle();
        EXPECT_THAT(system.plans, SizeIs(walks));
    }

    platform.time.advance(10 * 300ms);

    ASSERT_TRUE(late);
    EXPECT_THAT(system.plans, SizeIs(13));
}

TEST_F(AccessibilityTreeTest, doesNotWaitForAChromiumThatItManagesAlready)
{
    beChromium();
    start();
    platform.time.advance(150ms);
    ASSERT_TRUE(late);
    EXPECT_THAT(titles(take()), ElementsAre("Send"));
    application().focusedWindow = windowOf({});
    EXPECT_THAT(take().elements, IsEmpty()); // After only one walk.
}

TEST_F(AccessibilityTreeTest, countsAChromiumThatAnotherHandHasWokenAsFreshEachTime)
{
    beChromium();
    application().flags = {{Attribute::manualAccessibility, true}};
    application().focusedWindow = windowOf({});
    for (std::size_t times = 1; times <= 2; ++times) {
        late.reset();
        start();
        platform.time.advance(150ms + 12 * 300ms);
        ASSERT_TRUE(late);
        EXPECT_THAT(system.plans, SizeIs(13 * times));
    }
    EXPECT_THAT(system.written, IsEmpty());
}

TEST_F(AccessibilityTreeTest, allowsAYoungChromiumTheSameRetries)
{
    beChromium();
    application().accepts = {}; // It refuses to be woken.
    application().focusedWindow = windowOf({});
    platform.desktop.front->launchDate = platform.time.date() - 15s + 1ms;
    start();
    platform.time.advance(12 * 300ms - 1ms);
    EXPECT_FALSE(late);
    platform.time.advance(1ms);
    EXPECT_TRUE(late);
}

TEST_F(AccessibilityTreeTest, givesNoRetriesAtFifteenSecondsOrWithoutALaunchDate)
{
    beChromium();
    application().accepts = {};
    application().focusedWindow = windowOf({});
    platform.desktop.front->launchDate = platform.time.date() - 15s;
    EXPECT_THAT(take().elements, IsEmpty());
    platform.desktop.front->launchDate.reset();
    EXPECT_THAT(take().elements, IsEmpty());
    EXPECT_THAT(system.plans, SizeIs(2));
}

TEST_F(AccessibilityTreeTest, givesEachWalkItsFullTime)
{
    beChromium();
    application().focusedWindow = windowOf({});
    start();
    platform.time.advance(150ms + 300ms);
    ASSERT_THAT(system.plans, SizeIs(2));
    EXPECT_EQ(system.plans[1].deadline - system.plans[0].deadline, 300ms);
    EXPECT_EQ(system.plans[1].deadline, platform.time.now() + 2s);
    platform.time.advance(10s);
}

TEST_F(AccessibilityTreeTest, givesTheReaderItsPlan)
{
    take(TreeScope::frontmost, true);
    take(TreeScope::frontmost, false);
    ASSERT_THAT(system.plans, SizeIs(2));
    EXPECT_EQ(system.plans[0].maxDepth, 25);
    EXPECT_TRUE(system.plans[0].describes("AXButton"));
    EXPECT_FALSE(system.plans[0].describes("AXGroup"));
    EXPECT_TRUE(system.plans[1].describes("AXGroup"));
}

TEST_F(AccessibilityTreeTest, readsNoElementsOfHiddenApplicationsInsideOfOthers)
{
    platform.desktop.running[300] = {.pid = 300, .names = {{"org.secret"}}};
    platform.desktop.running[301] = {.pid = 301, .names = {{"org.open"}}};
    run(platform.io, hiddenApps.add("org.secret"));
    std::map<std::int32_t, bool> allowed;
    system.onQuestion = [&](FakeQuestion const&) {
        for (std::int32_t const other : {300, 301, 302, platform.machineFacts.pid})
            allowed[other] = system.plans.back().allowsProcess(other);
    };
    take();
    EXPECT_FALSE(allowed[300]);
    EXPECT_TRUE(allowed[301]);
    EXPECT_TRUE(allowed[302]); // A helper process without its own window.
    EXPECT_FALSE(allowed[platform.machineFacts.pid]);
}

TEST(LooksUnbuilt, isTrueOnlyForNothingAndForSmallButtons)
{
    UiElementInfo const small{.role = "AXButton", .frame = {0, 0, 20, 20}};
    UiElementInfo const wide{.role = "AXButton", .frame = {0, 0, 20.5, 20}};
    UiElementInfo const high{.role = "AXButton", .frame = {0, 0, 20, 21}};
    UiElementInfo const label{.role = "AXStaticText", .frame = {0, 0, 5, 5}};
    EXPECT_TRUE(AccessibilityTree::looksUnbuilt({}));
    EXPECT_TRUE(AccessibilityTree::looksUnbuilt({small, small, small}));
    EXPECT_FALSE(AccessibilityTree::looksUnbuilt({small, wide}));
    EXPECT_FALSE(AccessibilityTree::looksUnbuilt({high}));
    EXPECT_FALSE(AccessibilityTree::looksUnbuilt({small, label}));
}

} // namespace
} // namespace zelvo
