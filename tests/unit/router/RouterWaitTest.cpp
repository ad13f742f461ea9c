#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

class RouterWaitTest : public RouterHarness {
protected:
    void SetUp() override
    {
        RouterHarness::SetUp();
        front("org.editor", "Editor");
        tree.elements = {editor};
    }
    void wait(std::string const& params = R"({"role":"AXButton","name":"Save"})")
    {
        reply.reset();
        start(frame("ui.wait", params), reply);
    }
    void pass(Duration time) { platform.time.advance(time); }
    /// Changes the interface and reports that, like an application.
    void show(std::vector<UiElementInfo> elements)
    {
        tree.elements = std::move(elements);
        watches.change(tree.pid);
        platform.settle();
    }
    std::size_t looks() const { return tree.asked.size(); }
    json::object result() const { return reply ? reply->at("result").as_object() : json::object(); }
    static json::object unmatched(std::int64_t elapsedMs)
    {
        return {{"matched", false}, {"elapsedMs", elapsedMs}};
    }
    static json::object gone(std::int64_t elapsedMs) { return {{"matched", true}, {"elapsedMs", elapsedMs}}; }

    static constexpr char const* clicking =
        R"({"actions":[{"type":"click_element","snapshotId":"snp_1","elementId":"e1"}]})";
    FakeInterfaceWatches& watches = platform.interfaceWatches;
    UiElementInfo const editor{
        .id = "e0", .role = "AXTextArea", .value = "Milk", .frame = {0, 80, 400, 300}, .focused = true};
    UiElementInfo const save{
        .id = "e1", .role = "AXButton", .title = "Save", .frame = {10, 20, 80, 24}, .actions = {"AXPress"}};
    std::optional<json::object> reply;
};

TEST_F(RouterWaitTest, findsAtOnceWhatIsThere)
{
    tree.elements = {editor, save};
    wait();
    EXPECT_EQ(json::value(result()), *parseJson(R"({
        "matched": true, "elapsedMs": 0, "snapshotId": "snp_1",
        "element": {"id": "e1", "role": "AXButton", "frame": {"x": 10.0, "y": 20.0, "w": 80.0, "h": 24.0},
                    "enabled": true, "focused": false, "actions": ["AXPress"], "title": "Save"}})"));
    EXPECT_EQ(looks(), 1u);
    EXPECT_EQ(watches.opened, 0);
}

TEST_F(RouterWaitTest, looksAgainWhenTheApplicationReportsAChange)
{
    wait();
    pass(500ms);
    ASSERT_FALSE(reply);
    EXPECT_EQ(looks(), 2u); // The first, and one for what came while the watch was opened.
    show({editor, save});
    EXPECT_EQ(result().at("elapsedMs"), 500);
    EXPECT_EQ(result().at("snapshotId"), "snp_3");
    EXPECT_EQ(watches.existing(), 0u);
}

TEST_F(RouterWaitTest, findsWhatCameWhileItOpenedTheWatch)
{
    watches.onOpen = [this] { tree.elements = {editor, save}; };
    wait();
    pass(100ms);
    EXPECT_EQ(result().at("elapsedMs"), 100);
}

TEST_F(RouterWaitTest, aWatchThatIsSlowToOpenDoesNotMakeItLonger)
{
    watches.beforeOpen = [this]() -> Task<> { co_await platform.time.sleep(6s); };
    wait(R"({"name":"Save","timeoutMs":500})");
    pass(499ms);
    EXPECT_FALSE(reply);
    tree.elements = {editor, save};
    pass(1ms);
    EXPECT_EQ(result().at("matched"), true); // It looks a last time.
    EXPECT_EQ(result().at("elapsedMs"), 500);

    tree.elements = {editor};
    wait(R"({"name":"Save","timeoutMs":500})");
    pass(500ms);
    EXPECT_EQ(result(), unmatched(500));

    pass(6s);
    EXPECT_EQ(watches.existing(), 0u);
    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

TEST_F(RouterWaitTest, looksAtMostTenTimesASecond)
{
    wait(R"({"name":"Save","timeoutMs":30000})");
    for (int i = 0; i < 1'000; ++i) {
        watches.change(tree.pid);
        watches.change(tree.pid);
        pass(1ms);
    }
    EXPECT_LE(looks(), 11u);
    EXPECT_GE(looks(), 10u);
}

TEST_F(RouterWaitTest, timeOfALookDoesNotCountAsItsPause)
{
    tree.takes = 400ms;
    wait(R"({"name":"Save","timeoutMs":30000})");
    for (int i = 0; i < 999; ++i) {
        watches.change(tree.pid);
        pass(1ms);
    }
    EXPECT_EQ(looks(), 2u);
}

TEST_F(RouterWaitTest, looksOnceASecondIfNothingIsReported)
{
    wait(R"({"name":"Save","timeoutMs":30000})");
    pass(100ms);
    EXPECT_EQ(looks(), 2u);
    tree.elements = {editor, save};
    pass(999ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(result().at("elapsedMs"), 1'100);
    EXPECT_EQ(looks(), 3u);
}

TEST_F(RouterWaitTest, applicationsBehindTheFrontOneCountOnlyWithTheirWindows)
{
    wait();
    pass(200ms);
    watches.change(tree.pid + 1);
    pass(300ms);
    EXPECT_EQ(looks(), 2u);
    watches.change(tree.pid + 1, InterfaceChange::windows);
    platform.settle();
    EXPECT_EQ(looks(), 3u);
}

TEST_F(RouterWaitTest, isUnmatchedAfterItsTime)
{
    wait();
    pass(2'999ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(result(), unmatched(3'000));
    EXPECT_EQ(watches.existing(), 0u);
    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

TEST_F(RouterWaitTest, looksALastTimeAtItsEnd)
{
    wait(R"({"name":"Save","timeoutMs":900})");
    pass(500ms);
    tree.elements = {editor, save};
    pass(400ms);
    EXPECT_EQ(result().at("matched"), true);
    EXPECT_EQ(result().at("elapsedMs"), 900);
}

TEST_F(RouterWaitTest, withoutTimeItLooksOnce)
{
    wait(R"({"name":"Save","timeoutMs":0})");
    EXPECT_EQ(result(), unmatched(0));
    EXPECT_EQ(looks(), 1u);
    EXPECT_EQ(watches.opened, 0);
}

TEST_F(RouterWaitTest, timesAreClampedAndTextsAreNoTimes)
{
    wait(R"({"name":"Save","timeoutMs":-5})");
    EXPECT_EQ(result(), unmatched(0));
    wait(R"({"name":"Save","timeoutMs":9223372036854775807})");
    pass(29'999ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(result(), unmatched(30'000));
    wait(R"({"name":"Save","timeoutMs":"1"})");
    pass(3s);
    EXPECT_EQ(result(), unmatched(3'000));
}

TEST_F(RouterWaitTest, untilEnabled)
{
    UiElementInfo off = save;
    off.enabled = false;
    tree.elements = {off};
    wait(R"({"name":"Save","until":"enabled"})");
    pass(200ms);
    EXPECT_FALSE(reply);
    show({save});
    EXPECT_EQ(result().at("element").at("enabled"), true);
}

TEST_F(RouterWaitTest, untilFocused)
{
    wait(R"({"role":"AXButton","until":"focused"})");
    show({save});
    pass(200ms);
    EXPECT_FALSE(reply);
    UiElementInfo focused = save;
    focused.focused = true;
    show({focused});
    EXPECT_EQ(result().at("element").at("focused"), true);
}

TEST_F(RouterWaitTest, untilItHasAValue)
{
    wait(R"({"role":"AXTextArea","until":"value","value":"Bread"})");
    pass(200ms);
    EXPECT_FALSE(reply);
    UiElementInfo filled = editor;
    filled.value = "Bread";
    show({filled});
    EXPECT_EQ(result().at("element").at("value"), "Bread");
}

TEST_F(RouterWaitTest, untilItDisappears)
{
    tree.elements = {editor, save};
    wait(R"({"name":"Save","until":"disappears"})");
    pass(200ms);
    EXPECT_FALSE(reply);
    show({editor});
    EXPECT_EQ(result(), gone(200));
}

TEST_F(RouterWaitTest, whatALimitCutOffHasNotDisappeared)
{
    tree.truncated = true;
    wait(R"({"name":"Save","until":"disappears"})");
    pass(3s);
    EXPECT_EQ(result(), unmatched(3'000));
}

TEST_F(RouterWaitTest, emptyTreeIsADisappearanceOnlyIfItStaysEmpty)
{
    tree.elements = {editor, save};
    wait(R"({"name":"Save","until":"disappears","timeoutMs":30000})");
    pass(200ms);
    show({}); // As between two pages.
    EXPECT_FALSE(reply);
    tree.elements = {save};
    pass(100ms);
    EXPECT_FALSE(reply);
    show({});
    pass(199ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(result(), gone(500));
}

TEST_F(RouterWaitTest, isNoErrorThatNothingIsInFrontForAMoment)
{
    tree.failsWith = AgentError::machineUnavailable;
    wait();
    pass(500ms);
    EXPECT_FALSE(reply);
    tree.failsWith.reset();
    tree.elements = {save};
    watches.change(7, InterfaceChange::windows);
    platform.settle();
    EXPECT_EQ(result().at("elapsedMs"), 500);
}

TEST_F(RouterWaitTest, goneWithTheLastApplication)
{
    tree.elements = {editor, save};
    wait(R"({"name":"Save","until":"disappears"})");
    pass(200ms);
    tree.failsWith = AgentError::machineUnavailable;
    watches.change(tree.pid, InterfaceChange::windows);
    platform.settle();
    EXPECT_FALSE(reply);
    pass(100ms);
    EXPECT_EQ(result(), gone(300));
}

TEST_F(RouterWaitTest, needsACriterion)
{
    for (char const* const params :
         {"{}", R"({"until":"appears"})", R"({"role":"","name":""})", R"({"role":5,"name":[],"value":{}})",
          R"({"scope":"all_windows","until":"focused"})"})
        EXPECT_EQ(code(call("ui.wait", params)), "invalid_request") << params;
    EXPECT_EQ(looks(), 0u);
    EXPECT_TRUE(recorder.told.empty());
}

TEST_F(RouterWaitTest, unknownUntilIsInvalid)
{
    for (char const* const params :
         {R"({"name":"Save","until":"gone"})", R"({"name":"Save","until":"Appears"})",
          R"({"name":"Save","until":""})", R"({"name":"Save","until":"value"})",
          R"({"name":"Save","until":"value","value":5})"})
        EXPECT_EQ(code(call("ui.wait", params)), "invalid_request") << params;
    EXPECT_EQ(looks(), 0u);
    tree.elements = {save};
    wait(R"({"name":"Save","until":5})");
    EXPECT_EQ(result().at("matched"), true);
}

struct WaitReading {
    char const* params;
    FakeTree::Asked asked;
};

class RouterWaitReading : public RouterWaitTest, public testing::WithParamInterface<WaitReading> {};

TEST_P(RouterWaitReading, readsNoMoreThanItNeeds)
{
    wait(GetParam().params);
    pass(3s);
    EXPECT_THAT(tree.asked, testing::Each(GetParam().asked)) << GetParam().params;
}

INSTANTIATE_TEST_SUITE_P(
    All,
    RouterWaitReading,
    testing::Values(WaitReading{R"({"role":"AXButton"})", {TreeScope::frontmost, true, {}}},
                    WaitReading{R"({"role":"AXWindow"})", {TreeScope::frontmost, false, {}}},
                    WaitReading{R"({"name":"x"})", {TreeScope::frontmost, false, {}}},
                    WaitReading{R"({"name":"x","scope":"all_windows"})", {TreeScope::allWindows, false, {}}},
                    WaitReading{R"({"role":"AXMenuItem","scope":"menu_bar"})",
                                {TreeScope::menuBar, true, {}}},
                    WaitReading{R"({"name":"x","scope":"everything"})", {TreeScope::frontmost, false, {}}}));

TEST_F(RouterWaitTest, pauseEndsAlsoALookThatTakesItsTime)
{
    tree.takes = 2s;
    tree.elements = {save};
    wait();
    pass(100ms);
    state.setPaused(true);
    platform.settle();
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "machine_paused");
    pass(2s); // The look ends alone, and nobody can use what it saw.
    state.setPaused(false);
    fakeProbe.hit = seen("AXButton", "Save");
    EXPECT_EQ(code(call("actions.perform", clicking)), "snapshot_expired");
}

TEST_F(RouterWaitTest, pauseDuringALookIsNoResult)
{
    tree.elements = {save};
    fakeProbe.onFrontLook = [this] { state.setPaused(true); };
    wait();
    EXPECT_EQ(code(*reply), "machine_paused");
}

TEST_F(RouterWaitTest, hiddenApplicationThatComesToTheFrontEndsTheWait)
{
    wait();
    pass(200ms);
    tree.failsWith = AgentError::hiddenAppActive;
    watches.change(7, InterfaceChange::windows);
    platform.settle();
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "hidden_app_active");
}

TEST_F(RouterWaitTest, ownWindowInFrontEndsTheWaitBeforeAWalk)
{
    wait();
    pass(200ms);
    std::size_t const before = looks();
    front("dev.zelvo.agent", "Zelvo");
    watches.change(7, InterfaceChange::windows);
    platform.settle();
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "zelvo_ui_protected");
    EXPECT_EQ(looks(), before);
}

TEST_F(RouterWaitTest, ownWindowThatCameToTheFrontDuringTheWalkIsRefused)
{
    tree.app = {"dev.zelvo.agent", "Zelvo"};
    tree.elements = {save};
    EXPECT_EQ(code(call("ui.wait", R"({"name":"Save"})")), "zelvo_ui_protected");
}

TEST_F(RouterWaitTest, elementCanBeClicked)
{
    tree.elements = {editor, save};
    wait();
    fakeProbe.hit = seen("AXButton", "Save");

    EXPECT_EQ(code(call("actions.perform", clicking)), "");

    ASSERT_FALSE(platform.posting.posted.empty());
    EXPECT_THAT(cursor.shown, testing::Contains("clicked 50,32 x1"));
}

TEST_F(RouterWaitTest, isALookForTheLogAndForARecording)
{
    std::size_t const before = state.activity().size();
    tree.elements = {save};
    wait();
    EXPECT_THAT(recorder.told, testing::ElementsAre("looked"));
    EXPECT_EQ(state.activity().size(), before + 1);
    EXPECT_EQ(state.activity().front().platformName, "Acme");
}

TEST_F(RouterWaitTest, twoWaitsEndOnTheirOwn)
{
    std::optional<json::object> other;
    wait(R"({"name":"Save"})");
    start(frame("ui.wait", R"({"name":"Print"})"), other);
    pass(500ms);
    show({save});
    EXPECT_EQ(result().at("matched"), true);
    EXPECT_FALSE(other);
    pass(2'500ms);
    EXPECT_EQ(other->at("result").at("matched"), false);
}

} // namespace
} // namespace zelvo
