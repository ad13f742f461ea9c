#include "app/diagnostics/DiagnosticsWindow.h"

#include "app/diagnostics/TreeSection.h"
#include "app/widgets/Button.h"
#include "app/widgets/Picker.h"
#include "desktop/windows/WindowsFixture.h"

#include <QPlainTextEdit>
#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class DiagnosticsWindowTest : public WindowsFixture {
protected:
    void SetUp() override
    {
        WindowsFixture::SetUp();
        connect();
        platform->desktop.applications = {
            {.pid = 12, .names = {{"org.acme.mail"}}, .localizedName = "Mail", .isRegular = true},
            {.pid = 13, .names = {{"org.acme.books"}}, .localizedName = "books", .isRegular = true},
            {.pid = 14, .names = {{"org.acme.service"}}, .localizedName = "Service"},
            {.pid = platform->machineFacts.ownPid(), .names = {{"dev.zelvo.agent"}}, .isRegular = true}};
    }
    ContentWindow& shown() { return *ui->openWindows().shown(AppWindow::diagnostics); }
    std::string said() { return words(shown()); }
    void press(std::string const& key)
    {
        auto* const button = named<Button>(shown(), localized(key));
        ASSERT_TRUE(button) << key;
        button->click();
        settle();
    }
    Picker& picker(std::string const& key) { return *named<Picker>(shown(), localized(key)); }
    std::string report()
    {
        auto const* const view = shown().findChild<QPlainTextEdit*>();
        return view && view->isVisible() ? view->toPlainText().toStdString() : "";
    }
    std::set<std::string> hidden() { return run(platform->io, parts->hiddenApps.bundleIds()); }
};

TEST_F(DiagnosticsWindowTest, listsRunningApplicationsByNameAndNeverItself)
{
    open(AppWindow::diagnostics);
    ASSERT_TRUE(until([this] { return picker("diag.tree.app").count() > 1; }));

    ASSERT_EQ(picker("diag.tree.app").count(), 3);
    EXPECT_EQ(picker("diag.tree.app").itemText(0).toStdString(), localized("diag.tree.frontmost"));
    EXPECT_EQ(picker("diag.tree.app").itemText(1), "books");
    EXPECT_EQ(picker("diag.tree.app").itemText(2), "Mail");
}

TEST_F(DiagnosticsWindowTest, showsTheServerAndTheButtonThatFits)
{
    open(AppWindow::diagnostics);
    EXPECT_THAT(said(), HasSubstr(localized("gateway.connected")));
    EXPECT_THAT(said(), HasSubstr(parts->runtime.gatewayUrl()));
    EXPECT_THAT(said(), Not(HasSubstr(localized("common.reconnectNow"))));

    parts->state.setGatewayState(GatewayConnectionState::retrying("It is dark", platform->time.date() + 5s));
    settle();

    EXPECT_THAT(said(), HasSubstr("It is dark"));
    EXPECT_THAT(said(), HasSubstr(localized("common.reconnectNow")));
}

TEST_F(DiagnosticsWindowTest, showsPermissionsAndAvailability)
{
    platform->systemAccess.granted = {.accessibility = true};
    open(AppWindow::diagnostics);
    EXPECT_THAT(said(), HasSubstr(localized("common.no")));
    EXPECT_THAT(said(), HasSubstr(localized("diag.state.empty")));

    platform->sessionEvents.present = Availability::screenLocked;
    parts->state.startObserving();
    parts->state.refreshAvailability();
    settle();

    EXPECT_THAT(said(), HasSubstr("ready → screen_locked"));
}

TEST_F(DiagnosticsWindowTest, hidesAndShowsAnApplicationByMouse)
{
    open(AppWindow::diagnostics);
    ASSERT_TRUE(until([this] { return picker("diag.hidden.pick").count() == 2; }));
    EXPECT_THAT(said(), HasSubstr(localized("diag.hidden.empty")));
    EXPECT_FALSE(named<Button>(shown(), localized("diag.hidden.hide"))->isEnabled());

    picker("diag.hidden.pick").setCurrentIndex(1);
    press("diag.hidden.hide");
    ASSERT_TRUE(until([this] { return said().find("org.acme.mail") != std::string::npos; }));
    EXPECT_THAT(hidden(), testing::ElementsAre("org.acme.mail"));
    EXPECT_THAT(said(), HasSubstr(localized("diag.hidden.warning")));

    named<Button>(shown(), localized("diag.hidden.unhide") + ": org.acme.mail")->click();
    EXPECT_TRUE(until([this] { return hidden().empty(); }));
}

TEST_F(DiagnosticsWindowTest, tenThousandHiddenApplicationsDoNoHarm)
{
    std::vector<std::string> all;
    for (int i = 0; i < 10'000; ++i)
        all.push_back("org.acme.app" + std::to_string(i));
    platform->settings.setTextArray("dev.zelvo.hiddenApps", all);
    open(AppWindow::diagnostics);
    open(AppWindow::hiddenApps);
    EXPECT_EQ(hidden().size(), 10'000u);
    EXPECT_THAT(words(*ui->openWindows().shown(AppWindow::hiddenApps)), HasSubstr("org.acme.app0"));
}

TEST_F(DiagnosticsWindowTest, countsDownAndIgnoresASecondPress)
{
    open(AppWindow::diagnostics);
    press("diag.tree.captureIn5");
    EXPECT_THAT(report(), HasSubstr(localized("diag.tree.countdown", {std::int64_t{5}})));
    platform->time.advance(1s);
    settle();
    EXPECT_THAT(report(), HasSubstr(localized("diag.tree.countdown", {std::int64_t{4}})));

    press("diag.tree.captureIn5");
    EXPECT_THAT(report(), HasSubstr(localized("diag.tree.countdown", {std::int64_t{4}})));

    platform->time.advance(4s);
    // Nothing is in front in this machine, so the reading fails; that is said.
    EXPECT_TRUE(until([this] {
        return report().find(localized("diag.tree.switchNow")) == std::string::npos &&
               report() != localized("diag.tree.capturing");
    }));
}

TEST_F(DiagnosticsWindowTest, aTestQuestionReportsItsAnswerAndItsPlace)
{
    open(AppWindow::diagnostics);
    press("diag.confirm.show");
    EXPECT_THAT(said(), HasSubstr(localized("diag.confirm.waiting")));
    ASSERT_TRUE(until([this] {
        platform->time.advance(50ms);
        return !panels->made.empty() && panels->last().isShown;
    }));
    platform->time.advance(150ms);
    settle();

    panels->last().reports.allow(false);
    EXPECT_TRUE(until([this] {
        platform->time.advance(50ms);
        return said().find(localized("diag.confirm.allowed")) != std::string::npos;
    }));
}

} // namespace
} // namespace zelvo::test
