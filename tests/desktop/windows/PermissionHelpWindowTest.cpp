#include "app/permissions/PermissionHelpWindow.h"

#include "app/widgets/Button.h"
#include "desktop/windows/WindowsFixture.h"
#include "state/PermissionWording.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;

class PermissionHelpWindowTest : public WindowsFixture {
protected:
    ContentWindow& shown() { return *ui->openWindows().shown(AppWindow::permissionHelp); }
    bool shows(std::string const& text) { return words(shown()).find(text) != std::string::npos; }
    PermissionCause const noBus{.kind = PermissionCause::Kind::noAccessibilityBus};
};

TEST_F(PermissionHelpWindowTest, showsTheCauseAndTheCureUntilItIsCured)
{
    platform->systemAccess.granted = {.screenRecording = true};
    platform->systemAccess.missing.accessibility = {noBus};
    open(AppWindow::permissionHelp);
    ASSERT_TRUE(until([this] { return shows(helpFor(noBus).cause) && shows(helpFor(noBus).cure); }));
    EXPECT_TRUE(shows(localized("permission.missing")));

    platform->systemAccess.granted.accessibility = true;
    platform->systemAccess.missing.accessibility.clear();
    named<Button>(shown(), localized("common.refresh"))->click();

    EXPECT_TRUE(until([this] { return !shows(helpFor(noBus).cause); }));
    EXPECT_FALSE(shows(localized("permission.missing")));
}

TEST_F(PermissionHelpWindowTest, noticesThatAnApplicationHasEnded)
{
    PermissionCause const tooEarly{.kind = PermissionCause::Kind::startedTooEarly, .names = {"Writer"}};
    platform->systemAccess.missing.accessibility = {tooEarly};
    open(AppWindow::permissionHelp);
    ASSERT_TRUE(until([&] { return shows(helpFor(tooEarly).cause); }));

    platform->systemAccess.missing.accessibility.clear();
    platform->time.advance(1s);

    EXPECT_TRUE(until([&] { return !shows(helpFor(tooEarly).cause); }));
}

TEST_F(PermissionHelpWindowTest, asksForWhatThePersonPresses)
{
    PermissionCause const notAsked{.kind = PermissionCause::Kind::grantNotAsked};
    platform->systemAccess.granted = {};
    platform->systemAccess.missing.screenRecording = {notAsked};
    open(AppWindow::permissionHelp);
    ASSERT_TRUE(until([&] { return shows(helpFor(notAsked).cause); }));
    EXPECT_TRUE(platform->systemAccess.requested.empty());

    named<Button>(shown(), helpFor(notAsked).action + ": " + helpFor(notAsked).cause)->click();

    EXPECT_EQ(platform->systemAccess.requested, (std::vector{notAsked.kind}));
}

TEST_F(PermissionHelpWindowTest, saysWhatThisDesktopLacksWithAllPermissions)
{
    PermissionCause const lack{.kind = PermissionCause::Kind::noHotKey};
    platform->systemAccess.granted = {.accessibility = true, .screenRecording = true};
    platform->systemAccess.missing.lacks = {lack};
    open(AppWindow::permissionHelp);

    EXPECT_TRUE(until([&] { return shows(helpFor(lack).cause) && shows(helpFor(lack).cure); }));
    EXPECT_TRUE(shows(localized("permission.lacks")));
    EXPECT_FALSE(shows(localized("permission.missing")));
}

TEST_F(PermissionHelpWindowTest, canBeClosedWhileCausesAreSought)
{
    ui->openWindows().open(AppWindow::permissionHelp);
    close(AppWindow::permissionHelp);
    settle();
    EXPECT_FALSE(ui->openWindows().shown(AppWindow::permissionHelp));
}

} // namespace
} // namespace zelvo::test
