#include "base/LocalizedTexts.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Kind = MouseEvent::Kind;

constexpr DesktopPoint onSend{50, 50};
constexpr DesktopPoint beside{10, 50};

/// A window with the button "Send" at (40, 40) to (60, 60), under the strict guard.
class RouterStrictTest : public RouterHarness {
protected:
    void SetUp() override
    {
        RouterHarness::SetUp();
        front("org.form", "Form");
        platform.settings.setBoolean("zelvo.strictGuard", true);
        fakeProbe.hitAt = [this](DesktopPoint at) -> std::optional<ProbedElement> {
            bool const isOnButton = DesktopRect{40, 40, 20, 20}.contains(at);
            return isOnButton ? button : seen("AXGroup", "");
        };
    }
    json::object perform(std::string const& actions)
    {
        std::optional<json::object> reply;
        start(frame("actions.perform", R"({"actions":[)" + actions + "]}"), reply);
        for (int step = 0; step < 300 && !reply; ++step)
            platform.time.advance(16ms);
        return reply ? *reply : json::object();
    }
    void denyAll() { confirmations.decision = ConfirmationDecision::denied(); }
    std::vector<std::string> asked() const
    {
        std::vector<std::string> details;
        for (FakeConfirming::Question const& question : confirmations.questions)
            details.push_back(question.subject.detail());
        return details;
    }
    /// Where each button went up, and where it was let go by force.
    std::vector<DesktopPoint> releases() const
    {
        std::vector<DesktopPoint> points;
        for (PostedEvent const& event : platform.posting.posted)
            if (auto const* const mouse = std::get_if<MouseEvent>(&event); mouse && mouse->kind == Kind::up)
                points.push_back(mouse->point);
        return points;
    }
    std::string typed() const
    {
        std::string all;
        for (PostedEvent const& event : platform.posting.posted)
            if (auto const* const text = std::get_if<TextEvent>(&event);
                text && text->kind == KeyEvent::Kind::down)
                all += text->text;
        return all;
    }
    bool pressesKeys() const
    {
        return std::ranges::any_of(platform.posting.posted, [](PostedEvent const& event) {
            return std::holds_alternative<KeyEvent>(event);
        });
    }
    /// Reads a tree of one element on the button's place; the params of an action on it.
    std::string elementOf(std::string role)
    {
        UiElementInfo info;
        info.id = "e0";
        info.role = std::move(role);
        info.title = "Send";
        info.frame = {40, 40, 20, 20};
        tree.elements = {info};
        tree.app = UiTreeSnapshot::App{"org.form", "Form"};
        call("ui.tree");
        return R"("snapshotId":"snp_1","elementId":"e0")";
    }

    /// A button that is there while the pointer is over it, and once the application knows that.
    void showOnlyUnderThePointer(ProbedElement const& shown)
    {
        button = seen("AXGroup", "");
        platform.posting.onPost = [this](PostedEvent const& event) {
            if (auto const* const mouse = std::get_if<MouseEvent>(&event);
                mouse && mouse->kind == Kind::moved)
                pointer = mouse->point;
        };
        platform.posting.onDelivered = [this, shown] {
            button = pointer == onSend ? shown : seen("AXGroup", "");
        };
    }

    std::optional<ProbedElement> button = seen("AXButton", "Send");
    DesktopPoint pointer;
};

TEST_F(RouterStrictTest, theSwitchIsReadAnewForEachAction)
{
    std::string const up = R"({"type":"mouse_up","x":50,"y":50})";
    platform.settings.setBoolean("zelvo.strictGuard", false);
    EXPECT_EQ(code(perform(up)), "");
    EXPECT_THAT(asked(), IsEmpty());

    platform.settings.setBoolean("zelvo.strictGuard", true);
    EXPECT_EQ(code(perform(up)), "");
    EXPECT_THAT(asked(), ElementsAre("«Send»"));
}

TEST_F(RouterStrictTest, aReleaseOnAButtonIsAskedAboutWithTheButtonLetGoElsewhere)
{
    gate.setFindRelease([](DesktopPoint at) -> Task<std::optional<DesktopPoint>> {
        EXPECT_EQ(at, onSend);
        co_return beside;
    });
    int releasesBefore = 0;
    confirmations.onAsk = [&] {
        releasesBefore = platform.posting.releases;
        EXPECT_EQ(std::get<MouseEvent>(platform.posting.posted.back()).point, beside);
    };
    denyAll();

    EXPECT_EQ(code(perform(R"({"type":"mouse_down","x":50,"y":50},{"type":"mouse_up","x":50,"y":50})")),
              "denied_by_user");

    EXPECT_GE(releasesBefore, 1); // Before the question, so that no release is left for its end.
    EXPECT_THAT(releases(), IsEmpty());
    EXPECT_THAT(asked(), ElementsAre("«Send»"));
}

TEST_F(RouterStrictTest, aReleaseThatIsAllowedIsPressedAgainWhereItBegan)
{
    EXPECT_EQ(code(perform(R"({"type":"mouse_down","x":45,"y":45},{"type":"mouse_up","x":50,"y":50})")), "");

    EXPECT_THAT(asked(), ElementsAre("«Send»"));
    EXPECT_THAT(releases(), ElementsAre(onSend));
    std::vector<DesktopPoint> downs;
    for (PostedEvent const& event : platform.posting.posted)
        if (auto const* const mouse = std::get_if<MouseEvent>(&event); mouse && mouse->kind == Kind::down)
            downs.push_back(mouse->point);
    EXPECT_THAT(downs, ElementsAre((DesktopPoint{45, 45}), (DesktopPoint{45, 45})));
}

TEST_F(RouterStrictTest, aReleaseElsewhereIsNotAskedAbout)
{
    EXPECT_EQ(code(perform(R"({"type":"mouse_down","x":50,"y":50},{"type":"mouse_up","x":10,"y":50})")), "");
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(releases(), ElementsAre(beside));
}

TEST_F(RouterStrictTest, theEndOfADragIsAskedAbout)
{
    denyAll();
    EXPECT_EQ(code(perform(R"({"type":"drag","from":{"x":10,"y":10},"to":{"x":50,"y":50}})")),
              "denied_by_user");
    EXPECT_THAT(asked(), ElementsAre("«Send»"));
    EXPECT_THAT(releases(), IsEmpty());
    EXPECT_GE(platform.posting.releases, 1);
    EXPECT_GE(platform.posting.deliveries, 1); // A menu that the press opened is there before the look.
}

TEST_F(RouterStrictTest, anotherButtonThatAppearsWhileThePersonThinksIsAskedAboutAnew)
{
    confirmations.onAsk = [&] { button = seen("AXButton", "Pay"); };
    EXPECT_EQ(code(perform(R"({"type":"drag","from":{"x":10,"y":10},"to":{"x":50,"y":50}})")), "");
    EXPECT_THAT(asked(), ElementsAre("«Send»", "«Pay»"));
    EXPECT_THAT(releases(), ElementsAre(onSend));
}

TEST_F(RouterStrictTest, theEndOfADragIsCheckedLikeItsBeginning)
{
    WindowEntry hidden;
    hidden.ownerPid = 5;
    hidden.bounds = DesktopRect{100, 100, 50, 50};
    hidden.owner = {{"org.secret"}};
    platform.windowList.list = std::vector<WindowEntry>{hidden, ownWindow({200, 200, 50, 50})};
    run(platform.io, hiddenApps.add("org.secret"));

    EXPECT_EQ(code(perform(R"({"type":"drag","from":{"x":10,"y":10},"to":{"x":120,"y":120}})")),
              "hidden_app_active");
    EXPECT_EQ(code(perform(R"({"type":"drag","from":{"x":10,"y":10},"to":{"x":220,"y":220}})")),
              "zelvo_ui_protected");
    EXPECT_THAT(platform.posting.posted, IsEmpty());

    platform.settings.setBoolean("zelvo.strictGuard", false);
    EXPECT_EQ(code(perform(R"({"type":"drag","from":{"x":10,"y":10},"to":{"x":120,"y":120}})")), "");
}

TEST_F(RouterStrictTest, aClickOnWhatIsShownOnlyUnderThePointerIsAskedAbout)
{
    showOnlyUnderThePointer(seen("AXButton", "Delete"));
    denyAll();
    EXPECT_EQ(code(perform(R"({"type":"click","x":50,"y":50})")), "denied_by_user");
    EXPECT_THAT(asked(), ElementsAre("«Delete»"));
    EXPECT_THAT(releases(), IsEmpty());
}

TEST_F(RouterStrictTest, aYesToWhatIsShownOnlyUnderThePointerHoldsAfterThePersonHasMovedThePointer)
{
    showOnlyUnderThePointer(seen("AXButton", "Delete"));
    confirmations.onAsk = [&] {
        pointer = beside;
        button = seen("AXGroup", "");
    };
    EXPECT_EQ(code(perform(R"({"type":"click","x":50,"y":50})")), "");
    EXPECT_THAT(asked(), ElementsAre("«Delete»"));
    EXPECT_THAT(releases(), ElementsAre(onSend));
}

TEST_F(RouterStrictTest, aClickOnAnElementIsJudgedWithThePointerOnIt)
{
    std::string const press = R"({"type":"click_element",)" + elementOf("AXButton") + "}";
    showOnlyUnderThePointer(seen("AXButton", "Send"));
    denyAll();
    EXPECT_EQ(code(perform(press)), "denied_by_user");
    EXPECT_THAT(releases(), IsEmpty());
    confirmations.decision = ConfirmationDecision::allowed(false);
    EXPECT_EQ(code(perform(press)), "");
    EXPECT_THAT(asked(), ElementsAre("«Send»", "«Send»"));
    EXPECT_THAT(releases(), ElementsAre(onSend));
}

TEST_F(RouterStrictTest, aMiddleClickOnAButtonIsAskedAboutAndARightOneOnAnItemOfAMenu)
{
    denyAll();
    EXPECT_EQ(code(perform(R"({"type":"click","x":50,"y":50,"button":"middle"})")), "denied_by_user");
    EXPECT_EQ(code(perform(R"({"type":"click","x":50,"y":50,"button":"right"})")), "");
    button = seen("AXMenuItem", "Delete");
    EXPECT_EQ(code(perform(R"({"type":"click","x":50,"y":50,"button":"right"})")), "denied_by_user");
    EXPECT_EQ(code(perform(R"({"type":"mouse_up","x":50,"y":50,"button":"right"})")), "denied_by_user");
    EXPECT_THAT(asked(), ElementsAre("«Send»", "«Delete»", "«Delete»"));
}

TEST_F(RouterStrictTest, eachClickOfASeriesIsJudged)
{
    button = seen("AXButton", "More");
    platform.posting.onPost = [this](PostedEvent const& event) {
        auto const* const mouse = std::get_if<MouseEvent>(&event);
        if (mouse && mouse->kind == Kind::up)
            button = seen("AXButton", "Send"); // The first click put it there.
    };
    denyAll();

    EXPECT_EQ(code(perform(R"({"type":"click","x":50,"y":50,"count":2})")), "denied_by_user");

    EXPECT_THAT(asked(), ElementsAre("«Send»"));
    EXPECT_THAT(releases(), SizeIs(1));
}

TEST_F(RouterStrictTest, aLineEndIsAskedAboutWhereItIs)
{
    fakeProbe.focused = seen("AXButton", "Send");
    confirmations.onAsk = [&] { EXPECT_EQ(typed(), "one"); };
    denyAll();

    EXPECT_EQ(code(perform(R"({"type":"type","text":"one\ntwo"})")), "denied_by_user");

    EXPECT_EQ(typed(), "one");
    EXPECT_THAT(asked(), ElementsAre("«Send»"));
    EXPECT_EQ(platform.posting.endedTexts, 1);
}

TEST_F(RouterStrictTest, everyKindOfLineEndIsAskedAboutOnce)
{
    fakeProbe.focused = seen("AXButton", "Send");
    for (std::string const end : {"\\n", "\\r", "\\r\\n"}) {
        confirmations.questions.clear();
        EXPECT_EQ(code(perform(R"({"type":"type","text":"a)" + end + "b\"}")), "");
        EXPECT_THAT(asked(), SizeIs(1)) << end;
    }
}

TEST_F(RouterStrictTest, aBlankIsAskedAboutWhileAButtonHasTheFocus)
{
    denyAll();
    fakeProbe.focused = seen("AXTextField", "Send");
    EXPECT_EQ(code(perform(R"({"type":"type","text":"one two"})")), "");
    EXPECT_EQ(typed(), "one two");

    fakeProbe.focused = seen("AXButton", "Send");
    EXPECT_EQ(code(perform(R"({"type":"type","text":" "})")), "denied_by_user");
    EXPECT_EQ(typed(), "one two");
    EXPECT_THAT(asked(), ElementsAre("«Send»"));
}

TEST_F(RouterStrictTest, aTabBeforeABlankIsDeliveredBeforeTheFocusIsRead)
{
    fakeProbe.focused = seen("AXTextField", "Name");
    bool hasTab = false;
    platform.posting.onPost = [&](PostedEvent const& event) {
        auto const* const text = std::get_if<TextEvent>(&event);
        hasTab = hasTab || (text && text->text.find('\t') != std::string::npos);
        if (hasTab)
            fakeProbe.focused = seen("AXButton", "Send");
    };
    denyAll();

    EXPECT_EQ(code(perform(R"({"type":"type","text":"a\t b"})")), "denied_by_user");

    EXPECT_EQ(typed(), "a\t");
    EXPECT_GE(platform.posting.deliveries, 1);
}

TEST_F(RouterStrictTest, lettersBeforeABlankAreDeliveredBeforeTheFocusIsRead)
{
    fakeProbe.focused = seen("AXTextField", "Code");
    platform.posting.onDelivered = [&] {
        if (typed() == "a bcd")
            fakeProbe.focused = seen("AXButton", "Send"); // The field was full.
    };
    denyAll();

    EXPECT_EQ(code(perform(R"({"type":"type","text":"a bcd "})")), "denied_by_user");

    EXPECT_EQ(typed(), "a bcd");
}

TEST_F(RouterStrictTest, blanksAreWaitedForOnceWhereNothingHasTheFocus)
{
    EXPECT_EQ(code(perform(R"({"type":"type","text":"a b c d    e"})")), "");
    EXPECT_EQ(platform.posting.deliveries, 1); // A terminal, where a wait takes a third of a second.
    fakeProbe.focused = seen("AXTextField", "Name");
    EXPECT_EQ(code(perform(R"({"type":"type","text":"a b    c"})")), "");
    EXPECT_EQ(platform.posting.deliveries,
              6); // Any character may have filled a field that goes on to a button.
}

TEST_F(RouterStrictTest, theCurrentItemOfAMenuIsPressedByReturnAndSpace)
{
    fakeProbe.focused = seen("AXTextField", "Name");
    fakeProbe.menuItem = seen("AXMenuItem", "Delete");
    denyAll();
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "denied_by_user");
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["space"]})")), "denied_by_user");
    EXPECT_EQ(code(perform(R"({"type":"type","text":" "})")), "denied_by_user");
    fakeProbe.menuItem = seen("AXMenuItem", "Copy");
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "");
    fakeProbe.menuItem = seen("AXMenuItem", "Delete");
    platform.settings.setBoolean("zelvo.strictGuard", false);
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "");
    EXPECT_THAT(asked(), ElementsAre("«Delete»", "«Delete»", "«Delete»"));
}

TEST_F(RouterStrictTest, whatABusyApplicationHasNotHandledIsAskedAbout)
{
    platform.posting.handlesAll = false;
    button = std::nullopt;
    fakeProbe.focused = seen("AXTextField", "Name");
    denyAll();
    for (char const* const press :
         {R"({"type":"click","x":50,"y":50})", R"({"type":"mouse_up","x":50,"y":50})",
          R"({"type":"drag","from":{"x":10,"y":10},"to":{"x":50,"y":50}})", R"({"type":"type","text":" "})",
          R"({"type":"type","text":"\n"})", R"({"type":"key","keys":["return"]})",
          R"({"type":"key","keys":["space"]})"})
        EXPECT_EQ(code(perform(press)), "denied_by_user") << press;
    std::string const unnamed = "«" + localized("confirm.unnamedButton") + "»";
    EXPECT_EQ(asked(), std::vector<std::string>(7, unnamed));
    EXPECT_EQ(typed(), "");
    platform.posting.handlesAll = true;
    EXPECT_EQ(code(perform(R"({"type":"click","x":50,"y":50})")), "");
}

TEST_F(RouterStrictTest, aFormWhoseButtonIsNotKnownIsAskedAbout)
{
    fakeProbe.focused = seen("AXTextField", "Name");
    fakeProbe.formButton = seen("AXButton", "");
    fakeProbe.formButton->isUnknown = true;
    denyAll();
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "denied_by_user");
    EXPECT_THAT(asked(), SizeIs(1));
}

TEST_F(RouterStrictTest, returnOnACheckBoxIsJudgedLikeTheDefaultButton)
{
    fakeProbe.formButton = seen("AXButton", "Send");
    denyAll();
    for (char const* const role : {"AXCheckBox", "AXRadioButton"}) {
        fakeProbe.focused = seen(role, "Gift");
        EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "denied_by_user") << role;
        EXPECT_EQ(code(perform(R"({"type":"key","keys":["space"]})")), "") << role;
    }
    fakeProbe.focused = seen("AXButton", "Clear");
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "");
    EXPECT_THAT(asked(), ElementsAre("«Send»", "«Send»"));
}

TEST_F(RouterStrictTest, returnInAMessengerIsAskedAboutWithAnyModifiers)
{
    front("org.telegram.desktop", "Telegram");
    fakeProbe.focused = seen("AXTextArea", "Message");
    denyAll();
    for (char const* const keys :
         {R"(["return"])", R"(["alt","return"])", R"(["shift","enter"])", R"(["ctrl","shift","return"])"})
        EXPECT_EQ(code(perform(R"({"type":"key","keys":)" + std::string(keys) + "}")), "denied_by_user")
            << keys;
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["shift","space"]})")), "");
    platform.settings.setBoolean("zelvo.strictGuard", false);
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["alt","return"]})")), "");
    EXPECT_THAT(asked(), SizeIs(4));
}

TEST_F(RouterStrictTest, returnAndSpaceAreJudgedWithAnyModifiers)
{
    fakeProbe.focused = seen("AXButton", "Send");
    denyAll();
    for (char const* const keys : {R"(["shift","return"])", R"(["ctrl","space"])", R"(["alt","enter"])",
                                   R"(["cmd","shift","alt","return"])", R"(["fn","shift","space"])"})
        EXPECT_EQ(code(perform(R"({"type":"key","keys":)" + std::string(keys) + "}")), "denied_by_user")
            << keys;
    EXPECT_FALSE(pressesKeys());
    EXPECT_THAT(asked(), SizeIs(5));
}

TEST_F(RouterStrictTest, aChordThatIsNotAskedAboutAsAShortcutIsStillJudgedAsAPress)
{
    GrantedConnection connection = *state.connection("c");
    connection.policy.confirmDangerousActions = false;
    state.grant(std::move(connection));
    fakeProbe.dialog = seen("AXWindow", "Delete?");
    denyAll();

    EXPECT_EQ(code(perform(R"({"type":"key","keys":["ctrl","return"]})")), "denied_by_user");
}

TEST_F(RouterStrictTest, returnInAFieldIsJudgedLikeTheDefaultButton)
{
    fakeProbe.focused = seen("AXTextField", "Name");
    fakeProbe.formButton = seen("AXButton", "Send");
    denyAll();
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "denied_by_user");
    EXPECT_EQ(code(perform(R"({"type":"type","text":"x\n"})")), "denied_by_user");
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["space"]})")), "");
    fakeProbe.focused = seen("AXTextArea", "Letter");
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "");
    fakeProbe.focused = seen("AXTextField", "Name");
    fakeProbe.formButton = seen("AXButton", "Search");
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "");
    platform.settings.setBoolean("zelvo.strictGuard", false);
    fakeProbe.formButton = seen("AXButton", "Send");
    EXPECT_EQ(code(perform(R"({"type":"key","keys":["return"]})")), "");
    EXPECT_THAT(asked(), ElementsAre("«Send»", "«Send»"));
}

TEST_F(RouterStrictTest, aValueIsSetOnlyInElementsThatHoldText)
{
    button = seen("AXButton", "Send");
    EXPECT_EQ(code(perform(R"({"type":"set_value","text":"x",)" + elementOf("AXButton") + "}")),
              "invalid_request");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterStrictTest, aValueIsSetWithAllTheChecksOfAClickOnTheElement)
{
    std::string const set = R"({"type":"set_value","text":"x",)" + elementOf("AXTextField") + "}";
    EXPECT_EQ(code(perform(set)), "snapshot_expired"); // "Send" is a button now.
    button = seen("AXTextField", "Send");
    front("org.other", "Other");
    EXPECT_EQ(code(perform(set)), "app_not_frontmost");
    front("org.form", "Form");
    platform.windowList.list = std::vector<WindowEntry>{ownWindow({40, 40, 20, 20})};
    EXPECT_EQ(code(perform(set)), "zelvo_ui_protected");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    platform.windowList.list->clear();
    EXPECT_EQ(code(perform(set)), "");
    EXPECT_EQ(typed(), "x");
}

TEST_F(RouterStrictTest, theTextOfAValueIsJudgedLikeTypedText)
{
    button = seen("AXTextField", "Send");
    fakeProbe.focused = button;
    fakeProbe.formButton = seen("AXButton", "Send");
    denyAll();
    EXPECT_EQ(code(perform(R"({"type":"set_value","text":"x\n",)" + elementOf("AXTextField") + "}")),
              "denied_by_user");
    EXPECT_EQ(typed(), "x");
}

TEST_F(RouterStrictTest, anUnattendedMachineIsNotAsked)
{
    makeRouter(AgentMode::cloud);
    EXPECT_EQ(code(perform(R"({"type":"mouse_down","x":50,"y":50},{"type":"mouse_up","x":50,"y":50})")), "");
    EXPECT_THAT(asked(), IsEmpty());
}

} // namespace
} // namespace zelvo
