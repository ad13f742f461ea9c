#include "app/menu/MenuPanel.h"

#include "app/SwitchButton.h"
#include "app/widgets/Button.h"
#include "desktop/harness/Painter.h"
#include "desktop/windows/WindowsFixture.h"

#include <QMenu>
#include <QScreen>
#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class MenuPanelTest : public WindowsFixture {
protected:
    void SetUp() override
    {
        WindowsFixture::SetUp();
        connect();
    }
    void press(std::string const& button)
    {
        auto* const found = named<Button>(*ui->shownPanel(), button);
        ASSERT_TRUE(found) << button << "\n" << words(*ui->shownPanel());
        found->click();
        settle();
    }
    std::string said() { return words(*ui->shownPanel()); }
    /// A press anywhere on the screen, as the machine reports it.
    void pressAt(QPoint place)
    {
        platform->pointerPresses.press({static_cast<double>(place.x()), static_cast<double>(place.y())});
        settle();
    }
    std::vector<std::string> const& sent() { return platform->opener.last().sent; }
};

TEST_F(MenuPanelTest, pausesAndResumes)
{
    openPanel();
    press(localized("menu.pause"));
    EXPECT_TRUE(parts->state.isPaused());
    press(localized("menu.resume"));
    EXPECT_FALSE(parts->state.isPaused());
}

TEST_F(MenuPanelTest, showsThreeOfFourEntriesAndTheHeadingOfNone)
{
    openPanel();
    EXPECT_THAT(said(), HasSubstr(localized("menu.recent")));
    EXPECT_THAT(said(), HasSubstr(localized("activity.empty")));

    for (char const* const name : {"one", "two", "three", "four"})
        parts->state.log({.platform = "Acme", .summary = name});
    settle();

    EXPECT_THAT(said(), HasSubstr("four"));
    EXPECT_THAT(said(), HasSubstr("two"));
    EXPECT_THAT(said(), Not(HasSubstr("one")));
}

TEST_F(MenuPanelTest, anAgentThatWaitsWithoutAHolderIsNumberOne)
{
    parts->state.setLiveAgents({.holder = {}, .waiting = {ComputerAgent{.ref = "r", .name = "Helper"}}});
    openPanel();
    EXPECT_THAT(said(), HasSubstr("Helper"));
    EXPECT_THAT(said(), HasSubstr(localized("agents.waiting", {std::int64_t{1}}) + "\n"));
}

TEST_F(MenuPanelTest, joinsStatusTaskAndPlatformOfAnAgent)
{
    grant("c", "Acme");
    parts->state.setLiveAgents(
        {.holder = ComputerAgent{.ref = "r", .name = "Helper", .task = "Sorts", .connectionId = "c"}});
    openPanel();
    std::string const separator = localized("list.separator");
    EXPECT_THAT(said(), HasSubstr(localized("agents.working") + separator + "Sorts" + separator + "Acme"));
}

TEST_F(MenuPanelTest, saysThatASessionIsRecorded)
{
    openPanel();
    EXPECT_THAT(said(), Not(HasSubstr(localized("menu.recording.active"))));
    parts->recording.state().setRecording(true);
    settle();
    EXPECT_THAT(said(), HasSubstr(localized("menu.recording.active")));
}

TEST_F(MenuPanelTest, readsThePermissionsAnewWhenItOpens)
{
    platform->systemAccess.granted = {};
    openPanel();
    EXPECT_THAT(said(), HasSubstr(localized("status.needsPermissions")));
    press(localized("status.action.permissions"));
    EXPECT_TRUE(ui->openWindows().shown(AppWindow::welcome));
}

TEST_F(MenuPanelTest, itsSwitchAndTheMainWindowsAreOne)
{
    ContentWindow& main = open(AppWindow::main);
    openPanel();
    named<SwitchButton>(*ui->shownPanel(), localized("menu.keepAwake"))->click();
    settle();
    EXPECT_TRUE(named<SwitchButton>(main, localized("menu.keepAwake"))->isChecked());
}

TEST_F(MenuPanelTest, closesOnEscapeAndWhenAnotherWindowGetsTheKeyboard)
{
    openPanel();
    pressKey(*ui->shownPanel(), Qt::Key_Escape);
    EXPECT_TRUE(until([this] { return !ui->shownPanel(); }));

    platform->time.advance(1s);
    MenuPanel& panel = openPanel();
    ASSERT_TRUE(until([&] { return panel.isActiveWindow(); }));
    open(AppWindow::main).activateWindow();
    EXPECT_TRUE(until([this] { return !ui->shownPanel(); }));
}

TEST_F(MenuPanelTest, closesOnAPressElsewhere)
{
    openPanel();
    pressAt({100, 1500});
    ASSERT_FALSE(ui->shownPanel());
    EXPECT_EQ(platform->pointerPresses.observerCount(), 0U);

    platform->time.advance(1s);
    QRect const frame = openPanel().frameGeometry();
    pressAt(frame.bottomRight() + QPoint(1, 0));
    EXPECT_FALSE(ui->shownPanel());
}

TEST_F(MenuPanelTest, staysOpenOnAPressInside)
{
    QRect const frame = openPanel().frameGeometry();

    for (QPoint const place :
         {frame.topLeft(), frame.topRight(), frame.bottomLeft(), frame.bottomRight(), frame.center()})
        pressAt(place);

    EXPECT_TRUE(ui->shownPanel());
    EXPECT_EQ(platform->pointerPresses.observerCount(), 1U);
}

TEST_F(MenuPanelTest, leavesAPressOnTheIconToTheIcon)
{
    openPanel();
    pressAt({1210, 10});
    ASSERT_TRUE(ui->shownPanel());

    ui->togglePanel(QRect(1200, 4, 22, 22));
    settle();

    EXPECT_FALSE(ui->shownPanel());
    EXPECT_EQ(platform->pointerPresses.observerCount(), 0U);
}

TEST_F(MenuPanelTest, aClickOnAnIconWhosePlaceIsUnknownClosesIt)
{
    platform->time.advance(1s);
    QRect const pointer(1210, 10, 1, 1);
    ui->togglePanel(pointer);
    ASSERT_TRUE(until([this] { return ui->shownPanel() && ui->shownPanel()->isVisible(); }));

    pressAt({1213, 12}); // The press of the click arrives before the click.
    ui->togglePanel(pointer);
    settle();

    EXPECT_FALSE(ui->shownPanel());
}

TEST_F(MenuPanelTest, staysOpenOnAPressInAMenuOfItsOwn)
{
    auto* const menu = new QMenu(&openPanel());
    menu->addAction("One");
    menu->popup({300, 1500});
    ASSERT_TRUE(until([&] { return menu->isVisible(); }));

    pressAt(menu->geometry().center());
    ASSERT_TRUE(ui->shownPanel());

    menu->close();
    settle();
    pressAt({310, 1510});
    EXPECT_FALSE(ui->shownPanel());
}

TEST_F(MenuPanelTest, observesPressesOnlyWhileItIsOpen)
{
    EXPECT_EQ(platform->pointerPresses.opened, 0);
    openPanel();
    EXPECT_EQ(platform->pointerPresses.observerCount(), 1U);

    pressKey(*ui->shownPanel(), Qt::Key_Escape);

    EXPECT_TRUE(until([this] { return platform->pointerPresses.observerCount() == 0; }));
}

TEST_F(MenuPanelTest, higherThanTheScreenStaysInsideTheWorkArea)
{
    Painter painter(desktop->display());
    std::uint32_t const dock =
        painter.open({.width = 2600, .height = 40, .type = "_NET_WM_WINDOW_TYPE_DOCK"});
    desktop->run({"xprop", "-id", std::to_string(dock), "-f", "_NET_WM_STRUT", "32c", "-set", "_NET_WM_STRUT",
                  "0, 0, 40, 0"});
    QScreen const& screen = *QGuiApplication::primaryScreen();
    ASSERT_TRUE(until([&] { return screen.availableGeometry().top() == 40; }));
    ComputerAgents agents;
    for (int i = 0; i < 80; ++i)
        agents.waiting.push_back({.ref = std::to_string(i), .name = "Helper " + std::to_string(i)});
    parts->state.setLiveAgents(agents);

    MenuPanel& panel = openPanel();

    EXPECT_TRUE(until([&] { return panel.frameGeometry().height() == screen.availableGeometry().height(); }))
        << panel.frameGeometry().height();
    EXPECT_TRUE(until([&] { return screen.availableGeometry().contains(panel.frameGeometry()); }))
        << panel.frameGeometry().top();
}

TEST_F(MenuPanelTest, reconnectsAtOnceByItsButton)
{
    startAgent();
    platform->opener.last().fail(NetworkFailure::Kind::lost);
    settle();
    ASSERT_EQ(parts->state.gateway().kind, GatewayConnectionState::Kind::retrying);
    ASSERT_EQ(platform->opener.opened.size(), 1U);
    openPanel();

    press(localized("common.reconnectNow"));

    EXPECT_EQ(platform->opener.opened.size(), 2U);
}

TEST_F(MenuPanelTest, linksAnewByItsButton)
{
    startAgent();
    grant("c", "Acme");
    platform->opener.last().status = 401;
    platform->opener.last().fail(NetworkFailure::Kind::other);
    settle();
    ASSERT_EQ(parts->state.gateway().kind, GatewayConnectionState::Kind::tokenRejected);
    openPanel();

    press(localized("common.relink"));

    EXPECT_EQ(parts->state.gateway().kind, GatewayConnectionState::Kind::notLinked);
    EXPECT_TRUE(platform->secretStore.items.empty());
    EXPECT_TRUE(parts->state.connections().empty());
    EXPECT_THAT(platform->desktop.openedUrls, ElementsAre(parts->runtime.consoleUrl()));
}

TEST_F(MenuPanelTest, looksForAnUpdateByItsButton)
{
    startUpdates();
    parts->state.setGatewayState(GatewayConnectionState::of(GatewayConnectionState::Kind::updateRequired));
    openPanel();

    press(localized("status.action.update"));

    EXPECT_EQ(platform->programUpdates.checked, 1);
    EXPECT_TRUE(ui->openWindows().shown(AppWindow::updates));
}

TEST_F(MenuPanelTest, ofAPackagedProgramNamesThePackageManagerInsteadOfAButton)
{
    parts->state.setGatewayState(GatewayConnectionState::of(GatewayConnectionState::Kind::updateRequired));
    openPanel();

    EXPECT_THAT(said(), HasSubstr(localized("gateway.updateRequired.packaged")));
    EXPECT_FALSE(named<Button>(*ui->shownPanel(), localized("status.action.update")));
}

TEST_F(MenuPanelTest, opensTheConsoleByItsButton)
{
    parts->state.setGatewayState(GatewayConnectionState::of(GatewayConnectionState::Kind::notLinked));
    openPanel();

    press(localized("status.action.connect"));

    EXPECT_THAT(platform->desktop.openedUrls, ElementsAre(parts->runtime.consoleUrl()));
}

TEST_F(MenuPanelTest, pausesAndResumesTheAgentOfTheButton)
{
    startAgent();
    parts->state.setLiveAgents({.holder = ComputerAgent{.ref = "h", .name = "Holder"},
                                .waiting = {ComputerAgent{.ref = "w", .name = "Waiter"}},
                                .paused = {ComputerAgent{.ref = "p", .name = "Sleeper"}}});
    openPanel();

    press(localized("agents.pause") + ": Waiter");
    EXPECT_EQ(sent().back(), R"({"event":"agent_pause","data":{"ref":"w"}})");
    press(localized("agents.pause") + ": Holder");
    EXPECT_EQ(sent().back(), R"({"event":"agent_pause","data":{"ref":"h"}})");
    press(localized("agents.resume") + ": Sleeper");
    EXPECT_EQ(sent().back(), R"({"event":"agent_resume","data":{"ref":"p"}})");
}

TEST_F(MenuPanelTest, followsThePlatformOfAnAgentThatIsRenamedOrRevoked)
{
    grant("c", "Acme");
    parts->state.setLiveAgents({.holder = ComputerAgent{.ref = "r", .name = "Helper", .connectionId = "c"}});
    openPanel();
    std::string const line = localized("agents.working") + localized("list.separator");
    EXPECT_THAT(said(), HasSubstr(line + "Acme"));

    parts->state.renameConnections({{"c", "Zeta"}});
    settle();
    EXPECT_THAT(said(), HasSubstr(line + "Zeta"));
    EXPECT_THAT(said(), Not(HasSubstr(line + "Acme")));

    parts->state.revoke("c");
    settle();
    EXPECT_THAT(said(), HasSubstr(localized("agents.working") + "\n"));
}

TEST_F(MenuPanelTest, saysNoMoreThatASessionIsRecordedWhenItPausesForIdleness)
{
    startRecording();
    openPanel();
    EXPECT_THAT(said(), HasSubstr(localized("menu.recording.active")));

    platform->time.advance(10s);
    settle();

    EXPECT_TRUE(parts->recording.recorder().hasOpenFile());
    EXPECT_THAT(said(), Not(HasSubstr(localized("menu.recording.active"))));
}

TEST_F(MenuPanelTest, opensTheMainWindowAndQuits)
{
    openPanel();
    press(localized("menu.seeAll"));
    EXPECT_TRUE(ui->openWindows().shown(AppWindow::main));
    ASSERT_TRUE(until([this] { return !ui->shownPanel(); }));

    platform->time.advance(1s);
    openPanel();
    press(localized("menu.quit"));
    EXPECT_EQ(quits, 1);
}

TEST_F(MenuPanelTest, foreignTextsAreShownAsTheyAre)
{
    parts->state.setLiveAgents(
        {.holder = ComputerAgent{.ref = "r", .name = "<b>Bold</b> & co" + std::string(100'000, 'x')}});
    openPanel();
    EXPECT_THAT(said(), HasSubstr("<b>Bold</b> & co"));
    EXPECT_EQ(ui->shownPanel()->width(), MenuPanel::panelWidth);
}

TEST(PanelPlace, isAtTheEdgeNearestToTheIcon)
{
    QRect const screen(0, 0, 1920, 1080);
    QRect const below(0, 30, 1920, 1050); // A panel at the top.
    EXPECT_EQ(panelPlace({1800, 4, 22, 22}, {320, 400}, screen, below).topRight(), QPoint(1919, 31));
    QRect const above(0, 0, 1920, 1040); // A panel at the bottom.
    EXPECT_EQ(panelPlace({900, 1050, 22, 22}, {320, 400}, screen, above).bottom(), 1039);
    QRect const beside(60, 0, 1860, 1080); // A panel at the left.
    EXPECT_EQ(panelPlace({10, 500, 22, 22}, {320, 400}, screen, beside).left(), 60);
}

TEST(PanelPlace, staysInsideTheWorkAreaOfASmallScreen)
{
    QRect const screen(1920, 0, 800, 480);
    QRect const work(1920, 24, 800, 456);
    QRect const place = panelPlace({2700, 2, 20, 20}, {320, 456}, screen, work);
    EXPECT_TRUE(work.contains(place));
}

} // namespace
} // namespace zelvo::test
