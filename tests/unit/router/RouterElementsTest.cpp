#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RouterElementsTest : public RouterHarness {
protected:
    static constexpr char const* clickIt =
        R"([{"type":"click_element","snapshotId":"snp_1","elementId":"e0"}])";
    static constexpr char const* setIt =
        R"([{"type":"set_value","snapshotId":"snp_1","elementId":"e0","text":"né"}])";

    void SetUp() override
    {
        RouterHarness::SetUp();
        front("org.editor", "Editor");
        UiElementInfo info;
        info.id = "e0";
        info.role = "AXTextField";
        info.title = "Name";
        info.frame = {100, 200, 30, 10};
        tree.elements = {info};
        fakeProbe.hit = ProbedElement{};
        fakeProbe.hit->role = "AXTextField";
        fakeProbe.hit->title = "Name";
    }
    void readTree() { call("ui.tree"); }
    json::object perform(std::string const& actions)
    {
        return call("actions.perform", R"({"actions":)" + actions + "}");
    }
    json::object performIn(Duration time, std::string const& actions)
    {
        std::optional<json::object> reply;
        start(frame("actions.perform", R"({"actions":)" + actions + "}"), reply);
        platform.time.advance(time);
        return reply.value_or(json::object());
    }
    /// The reply to a click on an element of which the screen now shows `probed`.
    std::string clickOn(UiElementInfo info, std::optional<ProbedElement> probed)
    {
        info.id = "e0";
        info.frame = {100, 200, 30, 10};
        tree.elements = {std::move(info)};
        fakeProbe.hit = std::move(probed);
        std::string const id = call("ui.tree").at("result").as_object().at("snapshotId").as_string().c_str();
        return code(perform(R"([{"type":"click_element","elementId":"e0","snapshotId":")" + id + "\"}]"));
    }
};

TEST_F(RouterElementsTest, clicksTheCentre)
{
    readTree();
    EXPECT_EQ(perform(clickIt).at("result"), (json::object{{"ok", true}}));
    EXPECT_THAT(cursor.shown, ElementsAre("approach 115,205", "clicked 115,205 x1"));
    ASSERT_THAT(platform.posting.posted, SizeIs(2));
    MouseEvent const down{.kind = MouseEvent::Kind::down, .point = {115, 205}, .clickState = 1};
    EXPECT_EQ(std::get<MouseEvent>(platform.posting.posted[0]), down);
}

TEST_F(RouterElementsTest, aSnapshotLastsThirtySecondsExactly)
{
    readTree();
    platform.time.advance(30s);
    EXPECT_EQ(code(perform(clickIt)), "");
    platform.time.advance(1ms);
    EXPECT_EQ(code(perform(clickIt)), "snapshot_expired");
    EXPECT_EQ(code(perform(setIt)), "snapshot_expired");
}

TEST_F(RouterElementsTest, anUnknownElementIsInvalid)
{
    readTree();
    EXPECT_EQ(code(perform(R"([{"type":"click_element","snapshotId":"snp_1","elementId":"E0"}])")),
              "invalid_request");
    EXPECT_EQ(code(perform(R"([{"type":"set_value","snapshotId":"snp_1","elementId":"e1","text":""}])")),
              "invalid_request");
    EXPECT_EQ(code(perform(R"([{"type":"click_element","snapshotId":"snp_9","elementId":"e0"}])")),
              "snapshot_expired");
}

TEST_F(RouterElementsTest, aSnapshotServesOnlyTheConnectionThatTookIt)
{
    state.grant({.id = "d", .platformName = "Other", .scopes = {allScopes.begin(), allScopes.end()}});
    readTree();
    for (char const* const element : {"e0", "e7"})
        for (char const* const type : {"click_element", "set_value"}) {
            auto const performed = [&](char const* snapshot) {
                json::object action{
                    {"type", type}, {"snapshotId", snapshot}, {"elementId", element}, {"text", "x"}};
                std::string const params =
                    writeJson(json::object{{"actions", json::array{std::move(action)}}});
                return call("actions.perform", params, "d");
            };
            EXPECT_EQ(code(performed("snp_1")), "snapshot_expired") << type << element;
            EXPECT_EQ(performed("snp_1"), performed("snp_9")) << type << element;
        }
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    EXPECT_EQ(code(perform(clickIt)), ""); // It still serves the one that took it.
}

TEST_F(RouterElementsTest, anotherApplicationInFrontIsTold)
{
    readTree();
    front("org.mail", "Mail");
    json::object reply = perform(clickIt);
    EXPECT_EQ(reply.at("error"),
              (json::object{{"code", "app_not_frontmost"},
                            {"message", "Mail is in front, but the snapshot was taken in Editor."},
                            {"details",
                             {{"actual", "org.mail"}, {"actualName", "Mail"}, {"expected", "org.editor"}}}}));
    platform.desktop.front.reset();
    reply = perform(clickIt);
    EXPECT_EQ(reply.at("error").at("message"),
              "Another app is in front, but the snapshot was taken in Editor.");
    EXPECT_EQ(details(reply), (json::object{{"actual", ""}, {"actualName", ""}, {"expected", "org.editor"}}));
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterElementsTest, theApplicationIsComparedWithoutRegardToCase)
{
    readTree();
    front("ORG.Editor", "Editor");
    EXPECT_EQ(code(perform(clickIt)), "");
}

TEST_F(RouterElementsTest, aSnapshotOfNoKnownApplicationIsNotCompared)
{
    tree.app.reset();
    readTree();
    front("org.mail", "Mail");
    EXPECT_EQ(code(perform(clickIt)), "");
}

TEST_F(RouterElementsTest, ownWindowsAreProtected)
{
    readTree();
    platform.windowList.list = {{ownWindow({110, 200, 10, 10})}};
    EXPECT_EQ(code(perform(clickIt)), "zelvo_ui_protected");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterElementsTest, aDifferentElementAtTheSpotHasExpired)
{
    readTree();
    fakeProbe.hit->role = "AXButton";
    json::object reply = perform(clickIt);
    EXPECT_EQ(
        reply.at("error"),
        (json::object{{"code", "snapshot_expired"},
                      {"message", "A different element is at this spot now. Read the screen tree again."},
                      {"details",
                       {{"actualRole", "AXButton"}, {"elementId", "e0"}, {"expectedRole", "AXTextField"}}}}));
    fakeProbe.hit.reset();
    reply = perform(clickIt);
    EXPECT_EQ(details(reply).at("actualRole"), "");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    EXPECT_THAT(cursor.shown, IsEmpty());
}

TEST_F(RouterElementsTest, anElementWithoutTextsNeedsOnlyItsRole)
{
    UiElementInfo nameless;
    nameless.role = "AXButton";
    nameless.title = "";
    nameless.value = "v";
    ProbedElement probed;
    probed.role = "AXButton";
    probed.title = "Anything";
    EXPECT_EQ(clickOn(nameless, probed), "");
    probed.role = "AXbutton";
    EXPECT_EQ(clickOn(nameless, probed), "snapshot_expired");
}

TEST_F(RouterElementsTest, anyTextInCommonMakesItTheSame)
{
    UiElementInfo info;
    info.role = "AXButton";
    info.title = "One";
    info.elementDescription = "Two";
    info.identifier = "three";
    ProbedElement probed;
    probed.role = "AXButton";
    EXPECT_EQ(clickOn(info, probed), "snapshot_expired");
    probed.help = "One";
    EXPECT_EQ(clickOn(info, probed), "snapshot_expired");
    probed.title = "Other";
    probed.label = "one";
    EXPECT_EQ(clickOn(info, probed), "snapshot_expired");
    probed.identifier = "Two"; // Also where it is another kind of text.
    EXPECT_EQ(clickOn(info, probed), "");
}

TEST_F(RouterElementsTest, setValueTypesOverWhatStandsThere)
{
    readTree();
    EXPECT_EQ(code(performIn(60ms + 4ms, setIt)), "");
    EXPECT_THAT(cursor.shown, ElementsAre("approach 115,205", "clicked 115,205 x1", "typed 2"));
    std::vector<PostedEvent> const& posted = platform.posting.posted;
    ASSERT_THAT(posted, SizeIs(6));
    KeyEvent const selectAll{.kind = KeyEvent::Kind::down, .keyCode = 0, .flags = {.cmd = true}};
    EXPECT_EQ(std::get<KeyEvent>(posted[2]), selectAll);
    EXPECT_EQ(std::get<TextEvent>(posted[4]).text, "né");
}

TEST_F(RouterElementsTest, setValueLetsTheFieldSettle)
{
    readTree();
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":)" + std::string(setIt) + "}"), reply);
    platform.time.advance(59ms);
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
    platform.time.advance(1ms);
    EXPECT_THAT(platform.posting.posted, SizeIs(6));
}

TEST_F(RouterElementsTest, setValueLooksNeitherAtTheSnapshotsApplicationNorAtTheSpot)
{
    readTree();
    front("org.mail", "Mail");
    fakeProbe.hit.reset();
    platform.windowList.list = {{ownWindow({110, 200, 10, 10})}};
    EXPECT_EQ(code(performIn(100ms, setIt)), "");
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(fakeProbe.points, IsEmpty());
}

TEST_F(RouterElementsTest, setValueAndClickElementAreRefusedOverAHiddenApplication)
{
    readTree();
    run(platform.io, hiddenApps.add("org.editor"));
    EXPECT_EQ(code(perform(setIt)), "hidden_app_active");
    EXPECT_EQ(code(perform(clickIt)), "hidden_app_active");
}

/// A hidden window may lie over the field without being in front.
TEST_F(RouterElementsTest, setValueDoesNotClickIntoAHiddenApplication)
{
    readTree();
    run(platform.io, hiddenApps.add("org.keys"));
    WindowEntry above;
    above.ownerPid = 300;
    above.bounds = DesktopRect{110, 200, 10, 10};
    above.owner = {{"org.keys"}};
    platform.windowList.list = {{above}};

    EXPECT_EQ(code(performIn(100ms, setIt)), "hidden_app_active");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterElementsTest, setValueIsRefusedWithThisProgramInFront)
{
    readTree();
    front("dev.zelvo.agent", "Zelvo");
    EXPECT_EQ(code(perform(setIt)), "zelvo_ui_protected");
}

} // namespace
} // namespace zelvo
