#include "app/welcome/WelcomeWindow.h"

#include "app/widgets/Button.h"
#include "desktop/windows/WindowsFixture.h"
#include "state/PermissionWording.h"

#include <QScreen>
#include <QScrollArea>
#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class WelcomeWindowTest : public WindowsFixture {
protected:
    ContentWindow* window() { return ui->openWindows().shown(AppWindow::welcome); }
    std::optional<bool> seen() { return platform->settings.boolean(WelcomePresenter::seenKey); }
    std::string progress(std::int64_t done) { return localized("welcome.progress", {done, std::int64_t{3}}); }
};

TEST_F(WelcomeWindowTest, opensOneSecondAfterTheStartAndOnce)
{
    platform->systemAccess.granted = {};
    ui->start();
    platform->time.advance(999ms);
    settle();
    EXPECT_FALSE(window());

    platform->time.advance(1ms);
    EXPECT_TRUE(until([this] { return window() && window()->isVisible(); }));
    close(AppWindow::welcome);
    platform->time.advance(1h);
    settle();
    EXPECT_FALSE(window());
}

TEST_F(WelcomeWindowTest, beginsAtTheConnectionWhenBothPermissionsAreGranted)
{
    ui->start();
    platform->time.advance(1s);
    ASSERT_TRUE(until([this] { return window() && window()->isVisible(); }));
    EXPECT_THAT(words(*window()), HasSubstr(progress(2)));

    auto* const button =
        named<Button>(*window(), localized("welcome.connect") + ": " + localized("welcome.link.title"));
    ASSERT_TRUE(button);
    button->click();
    EXPECT_TRUE(until([this] { return !platform->desktop.openedUrls.empty(); }));
}

TEST_F(WelcomeWindowTest, staysAwayFromAPersonWhoIsSetUp)
{
    grant("1", "Acme");
    ui->start();
    platform->time.advance(1s);
    settle();

    EXPECT_FALSE(window());
    EXPECT_EQ(seen(), true);
}

TEST_F(WelcomeWindowTest, staysAwayOnceItWasSeen)
{
    platform->settings.setBoolean(WelcomePresenter::seenKey, true);
    platform->systemAccess.granted = {};
    ui->start();
    platform->time.advance(1s);
    settle();

    EXPECT_FALSE(window());
}

TEST_F(WelcomeWindowTest, waitsForARequestThatNeedsAnAnswer)
{
    LinkOffer offer;
    offer.token = "token";
    offer.platformName = "Acme";
    offer.requestedScopes = {AgentScope::screen};
    parts->links.present(offer);
    ui->start();
    platform->time.advance(5s);
    settle();
    EXPECT_FALSE(window());

    parts->links.cancel();
    platform->time.advance(1s);
    EXPECT_TRUE(until([this] { return window() && window()->isVisible(); }));
}

TEST_F(WelcomeWindowTest, followsTheMachine)
{
    grant("1", "Acme");
    open(AppWindow::welcome);
    EXPECT_THAT(words(*window()), HasSubstr(localized("welcome.done.title")));
    EXPECT_THAT(words(*window()), HasSubstr(progress(3)));

    platform->systemAccess.granted = {.accessibility = true};
    platform->systemAccess.changed();

    EXPECT_TRUE(until([this] { return words(*window()).find(progress(2)) != std::string::npos; }));
    EXPECT_THAT(words(*window()), HasSubstr(localized("welcome.later")));
}

TEST_F(WelcomeWindowTest, namesWhatMustBeStartedAgain)
{
    platform->systemAccess.missing.accessibility = {
        {.kind = PermissionCause::Kind::startedTooEarly, .names = {"Writer"}}};
    open(AppWindow::welcome);
    EXPECT_TRUE(until([this] {
        return words(*window()).find(localized("onboarding.restartHint", {"Writer"})) != std::string::npos;
    }));
}

TEST_F(WelcomeWindowTest, theHintGoesWhenTheApplicationHasEnded)
{
    platform->systemAccess.missing.accessibility = {
        {.kind = PermissionCause::Kind::startedTooEarly, .names = {"Writer"}}};
    open(AppWindow::welcome);
    auto const isHinted = [this] {
        return words(*window()).find(localized("onboarding.restartHint", {"Writer"})) != std::string::npos;
    };
    ASSERT_TRUE(until(isHinted));

    platform->systemAccess.missing.accessibility.clear(); // Nothing reports it.
    platform->time.advance(1s);

    EXPECT_TRUE(until([&] { return !isHinted(); }));
}

TEST_F(WelcomeWindowTest, waitsWhileTheConsentWindowShowsAnError)
{
    ui->start();
    consent->show(); // By the person's request, without an offer.
    platform->time.advance(3s);
    settle();

    EXPECT_TRUE(consent->isShown());
    EXPECT_FALSE(window());
}

TEST_F(WelcomeWindowTest, escapeClosesItForGoodToo)
{
    platform->systemAccess.granted = {};
    open(AppWindow::welcome);

    pressKey(*window(), Qt::Key_Escape);
    settle();

    EXPECT_FALSE(window());
    EXPECT_EQ(seen(), true);
}

class LowScreen : public WelcomeWindowTest {
protected:
    void SetUp() override { bringUp({.dpi = 192, .fontScale = 1.5, .width = 1366, .height = 768}); }
    /// The window fits the screen, and scrolling brings its last button into sight.
    static void expectReachable(ContentWindow& shown, std::string const& last)
    {
        EXPECT_LE(shown.height(), QGuiApplication::primaryScreen()->availableGeometry().height());
        auto* const area = shown.findChild<QScrollArea*>();
        ASSERT_TRUE(area);
        auto* const button = named<Button>(shown, last);
        ASSERT_TRUE(button);
        area->ensureWidgetVisible(button);
        settleEvents();
        EXPECT_FALSE(button->visibleRegion().isEmpty());
    }
    static void settleEvents() { QApplication::processEvents(); }
};

TEST_F(LowScreen, everythingIsReachable)
{
    platform->systemAccess.granted = {};
    platform->systemAccess.missing.screenRecording = {{.kind = PermissionCause::Kind::waylandSession}};
    expectReachable(open(AppWindow::welcome), localized("welcome.later"));
    expectReachable(open(AppWindow::permissionHelp), localized("common.close"));
}

TEST_F(WelcomeWindowTest, asksTheDesktopWithTheButtonOfAStepAndNotBefore)
{
    PermissionCause const notAsked{.kind = PermissionCause::Kind::grantNotAsked};
    platform->systemAccess.granted = {};
    platform->systemAccess.missing.screenRecording = {notAsked};
    open(AppWindow::welcome);
    std::string const name = helpFor(notAsked).action + ": " + localized("welcome.screen.title");
    ASSERT_TRUE(until([&] { return named<Button>(*window(), name) != nullptr; }));
    EXPECT_TRUE(platform->systemAccess.requested.empty());

    named<Button>(*window(), name)->click();

    EXPECT_EQ(platform->systemAccess.requested, (std::vector{notAsked.kind}));
    EXPECT_FALSE(ui->openWindows().shown(AppWindow::permissionHelp));
}

TEST_F(WelcomeWindowTest, laterClosesItForGood)
{
    platform->systemAccess.granted = {};
    open(AppWindow::welcome);
    EXPECT_NE(seen(), true);

    named<Button>(*window(), localized("welcome.later"))->click();
    settle();

    EXPECT_FALSE(window());
    EXPECT_EQ(seen(), true);
}

} // namespace
} // namespace zelvo::test
