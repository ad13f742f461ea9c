// Every window in every state, language, scale, font and palette: no text is cut, nothing overlaps.
#include "app/widgets/Button.h"
#include "desktop/windows/LayoutCheck.h"
#include "desktop/windows/WindowsFixture.h"

#include <gmock/gmock.h>

#include <fstream>

namespace zelvo::test {
namespace {

using testing::IsEmpty;

std::string const hostile =
    "<b>Evil & Co</b> \"quoted\" \xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d \xf0\x9f\x98\x80 " + std::string(400, 'x');

class WindowMatrix : public WindowsFixture, public testing::WithParamInterface<int> {
protected:
    void SetUp() override { bringUp({.dpi = GetParam()}); }

    template <class Check>
    void inEveryLook(Check check)
    {
        for (char const* const language : {"en", "ru"})
            for (double const fontScale : {1.0, 1.5})
                for (bool const isDark : {false, true}) {
                    setLook({.fontScale = fontScale, .isDark = isDark, .language = language});
                    std::string const look = std::string(language) + (fontScale > 1 ? "-large" : "") +
                                             (isDark ? "-dark" : "") + "-" + std::to_string(GetParam());
                    check(look);
                }
    }
    void expectNoFaults(AppWindow which, std::string const& name, bool isSmallest)
    {
        inEveryLook([&](std::string const& look) {
            SCOPED_TRACE(name + " " + look);
            ContentWindow& window = open(which);
            if (isSmallest)
                window.resize(window.minimumSize());
            until([&] { return layoutFaults(window).empty(); }, 2s); // A new size takes a moment.
            picture(window, name + "-" + look);
            EXPECT_THAT(layoutFaults(window), IsEmpty());
            close(which);
        });
    }
    void fill()
    {
        connect();
        grant("c1", "Acme Assistant",
              {AgentScope::screen, AgentScope::input, AgentScope::files, AgentScope::record});
        grant("c2", hostile, {allScopes.begin(), allScopes.end()});
        fillLog(40);
        AgentState::LogLine line{.platform = hostile, .summary = hostile};
        line.kind = ActivityKind::actions;
        parts->state.log(line);
        platform->settings.setText("zelvo.recordingMode", "share");
        parts->recording.state().setMode(RecordingMode::share);
        parts->state.setLiveAgents(
            {.holder = ComputerAgent{.ref = "r1", .name = "Bookkeeper", .task = "Sorts the invoices of May"},
             .waiting = {ComputerAgent{.ref = "r2", .name = hostile, .task = hostile}},
             .paused = {ComputerAgent{.ref = "r3", .name = "Writer"}}});
        startUpdates();
        platform->programUpdates.fail(
            "The update server did not answer in time, and this explanation of it is rather long");
        platform->settle();
    }
};

TEST_P(WindowMatrix, emptyMainWindow)
{
    expectNoFaults(AppWindow::main, "main-empty", false);
}

TEST_P(WindowMatrix, fullMainWindow)
{
    fill();
    expectNoFaults(AppWindow::main, "main-full", false);
}

TEST_P(WindowMatrix, smallestMainWindowWithProblems)
{
    fill();
    platform->systemAccess.granted = {};
    expectNoFaults(AppWindow::main, "main-smallest", true);
}

TEST_P(WindowMatrix, welcomeAtTheStart)
{
    platform->systemAccess.granted = {};
    expectNoFaults(AppWindow::welcome, "welcome-start", false);
}

TEST_P(WindowMatrix, welcomeWhenAllIsDone)
{
    grant("c1", "Acme");
    expectNoFaults(AppWindow::welcome, "welcome-done", false);
}

TEST_P(WindowMatrix, diagnostics)
{
    fill();
    platform->desktop.applications = {RunningApplication{
        .pid = 12, .names = {{"org.acme.mail"}}, .localizedName = "Acme Mail", .isRegular = true}};
    platform->settings.setTextArray("dev.zelvo.hiddenApps", {"org.keepassxc.KeePassXC", hostile});
    expectNoFaults(AppWindow::diagnostics, "diagnostics", false);
}

TEST_P(WindowMatrix, hiddenApplications)
{
    platform->settings.setTextArray("dev.zelvo.hiddenApps", {"org.keepassxc.KeePassXC", hostile});
    expectNoFaults(AppWindow::hiddenApps, "hidden-apps", true);
}

TEST_P(WindowMatrix, permissionHelp)
{
    platform->systemAccess.granted = {};
    platform->systemAccess.missing = {
        .accessibility = {{.kind = PermissionCause::Kind::noAccessibilityBus},
                          {.kind = PermissionCause::Kind::startedTooEarly, .names = {"Writer", hostile}}},
        .screenRecording = {
            {.kind = PermissionCause::Kind::incompleteServer, .names = {"Composite", "MIT-SHM"}},
            {.kind = PermissionCause::Kind::waylandSession}}};
    expectNoFaults(AppWindow::permissionHelp, "permission-help", false);
}

TEST_P(WindowMatrix, permissionHelpOnWayland)
{
    using Kind = PermissionCause::Kind;
    platform->systemAccess.granted = {};
    platform->systemAccess.missing = {
        .accessibility = {{Kind::extensionNotInstalled}},
        .screenRecording = {{Kind::grantWithdrawn},
                            {Kind::noGrantService, {"org.freedesktop.portal.RemoteDesktop"}}},
        .lacks = {{Kind::noHotKey}, {Kind::noOverlays}}};
    expectNoFaults(AppWindow::permissionHelp, "permission-help-wayland", false);
}

TEST_P(WindowMatrix, welcomeOnWayland)
{
    platform->systemAccess.granted = {};
    platform->systemAccess.missing = {.accessibility = {{PermissionCause::Kind::extensionNotInstalled}},
                                      .screenRecording = {{PermissionCause::Kind::grantNotAsked}}};
    expectNoFaults(AppWindow::welcome, "welcome-wayland", false);
}

UpdateItem const foreignUpdate{.displayVersion = "10.20.30",
                               .notes = "One thing works better.\n\n" + hostile + "\n" + hostile + "\nlast"};

TEST_P(WindowMatrix, updatesThatDoNotArrive)
{
    startUpdates();
    updater->checkNow();
    expectNoFaults(AppWindow::updates, "update-checking", false);
    platform->programUpdates.findNothing();
    expectNoFaults(AppWindow::updates, "update-newest", false);
    platform->programUpdates.fail(hostile);
    expectNoFaults(AppWindow::updates, "update-failed", false);
}

TEST_P(WindowMatrix, updateOnItsWay)
{
    startUpdates();
    UpdateProgress progress{.phase = UpdateProgress::Phase::downloading,
                            .item = foreignUpdate,
                            .receivedBytes = 123'456'789,
                            .totalBytes = 201'456'789};
    platform->programUpdates.delegate().progressed(progress);
    expectNoFaults(AppWindow::updates, "update-downloading", false);
    progress.receivedBytes = progress.totalBytes;
    platform->programUpdates.delegate().progressed(progress);
    expectNoFaults(AppWindow::updates, "update-verifying", false);
}

TEST_P(WindowMatrix, updateThatIsReady)
{
    startUpdates();
    platform->programUpdates.delegate().progressed(
        {.phase = UpdateProgress::Phase::ready, .item = foreignUpdate});
    expectNoFaults(AppWindow::updates, "update-ready", false);
    expectNoFaults(AppWindow::main, "main-update-ready", true);
    inEveryLook([&](std::string const& look) {
        SCOPED_TRACE(look);
        ContentWindow& window = open(AppWindow::updates);
        named<Button>(window, localized("update.install"))->click();
        restarts.back()();
        until([&] { return layoutFaults(window).empty(); }, 2s);
        picture(window, "update-restart-failed-" + look);
        EXPECT_THAT(layoutFaults(window), IsEmpty());
        close(AppWindow::updates);
    });
}

TEST_P(WindowMatrix, panel)
{
    fill();
    inEveryLook([&](std::string const& look) {
        SCOPED_TRACE(look);
        MenuPanel& panel = openPanel();
        picture(panel, "panel-" + look);
        EXPECT_THAT(layoutFaults(panel), IsEmpty());
        panel.close();
        settle();
        platform->time.advance(1s);
    });
}

TEST_P(WindowMatrix, emptyPanel)
{
    inEveryLook([&](std::string const& look) {
        SCOPED_TRACE(look);
        MenuPanel& panel = openPanel();
        picture(panel, "panel-empty-" + look);
        EXPECT_THAT(layoutFaults(panel), IsEmpty());
        panel.close();
        settle();
        platform->time.advance(1s);
    });
}

INSTANTIATE_TEST_SUITE_P(Dpi, WindowMatrix, testing::Values(96, 144, 192));

} // namespace
} // namespace zelvo::test
