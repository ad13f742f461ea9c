#include "app/main_window/MainWindow.h"

#include "app/SwitchButton.h"
#include "app/main_window/ConnectionsSection.h"
#include "app/widgets/Picker.h"
#include "desktop/windows/MainWindowFixture.h"

#include <QFileDialog>
#include <QPointer>
#include <QScreen>
#include <gmock/gmock.h>

#include <set>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class MainWindowTest : public MainWindowFixture {};

TEST_F(MainWindowTest, withoutConnectionsSaysSoAndOffersToConnect)
{
    openMain();

    EXPECT_THAT(words(shown()), HasSubstr(localized("main.connections.empty")));
    press(localized("status.action.connect"));
    ASSERT_TRUE(until([this] { return !platform->desktop.openedUrls.empty(); }));
    EXPECT_EQ(platform->desktop.openedUrls.front(), parts->runtime.consoleUrl());
}

TEST_F(MainWindowTest, showsConnectionsByNameWhateverTheirCase)
{
    grant("1", "Zeta");
    grant("2", "acme");
    openMain();

    std::string const all = words(shown());
    EXPECT_LT(all.find("acme"), all.find("Zeta"));
    EXPECT_THAT(all, HasSubstr(localized("main.connections.add")));
}

TEST_F(MainWindowTest, modeLocalShowsNoShareSwitch)
{
    parts->recording.state().setMode(RecordingMode::local);
    grant("1", "Acme", {AgentScope::screen, AgentScope::record});
    openMain();

    QMenu* menu = openMenu("Acme");
    ASSERT_TRUE(menu);
    EXPECT_THAT(textsOf(*menu), Not(HasSubstr(localized("menu.recording.shareWith"))));
    menu->close();

    parts->recording.state().setMode(RecordingMode::share);
    settle();
    menu = openMenu("Acme");
    EXPECT_THAT(textsOf(*menu), HasSubstr(localized("menu.recording.shareWith")));
    menu->close();
}

TEST_F(MainWindowTest, unansweredQuestionLeavesSharingOff)
{
    grant("1", "Acme", {AgentScope::screen, AgentScope::record});
    parts->recording.state().setMode(RecordingMode::share);
    settle();
    std::size_t const asked = panels->made.size();
    openMain();

    trigger(*openMenu("Acme"), localized("menu.recording.shareWith"));
    ASSERT_TRUE(until([&] { return panels->made.size() > asked || asked > 0; }));
    panels->last().reports.close();
    settle();

    QMenu* const menu = openMenu("Acme");
    EXPECT_THAT(textsOf(*menu), Not(HasSubstr("[x]")));
    menu->close();
}

TEST_F(MainWindowTest, disconnectsAfterTheQuestion)
{
    grant("1", "Acme");
    openMain();

    trigger(*openMenu("Acme"), localized("menu.disconnect"));
    ASSERT_TRUE(until([this] { return !panels->made.empty(); }));
    EXPECT_TRUE(parts->state.connection("1"));
    panels->last().reports.allow(false);

    EXPECT_TRUE(until([this] { return !parts->state.connection("1"); }));
    EXPECT_TRUE(until(
        [this] { return words(shown()).find(localized("main.connections.empty")) != std::string::npos; }));
}

TEST_F(MainWindowTest, modeOffHidesWhatBelongsToRecordings)
{
    parts->recording.state().setMode(RecordingMode::local);
    openMain();
    EXPECT_TRUE(named<Picker>(shown(), localized("menu.recording.keep")));
    EXPECT_TRUE(named<Button>(shown(), localized("menu.recording.show")));

    parts->recording.state().setMode(RecordingMode::off);
    settle();

    EXPECT_FALSE(named<Picker>(shown(), localized("menu.recording.keep")));
    EXPECT_FALSE(named<Button>(shown(), localized("menu.recording.show")));
}

TEST_F(MainWindowTest, aStoredRetentionThatIsNoChoiceReadsAsSeven)
{
    platform->settings.setInteger("zelvo.recordingRetentionDays", 5);
    parts->recording.state().setMode(RecordingMode::local);
    openMain();

    auto* const picker = named<Picker>(shown(), localized("menu.recording.keep"));
    ASSERT_TRUE(picker);
    EXPECT_EQ(picker->currentText().toStdString(), localized("menu.recording.days", {std::int64_t{7}}));
}

TEST_F(MainWindowTest, switchesChangeTheSettings)
{
    openMain();

    named<SwitchButton>(shown(), localized("settings.strictGuard"))->click();
    named<SwitchButton>(shown(), localized("menu.keepAwake"))->click();
    named<SwitchButton>(shown(), localized("settings.agentCursor"))->click();
    settle();

    EXPECT_EQ(platform->settings.boolean("zelvo.strictGuard"), true);
    EXPECT_TRUE(parts->state.keepAwakeWhileWorking());
    EXPECT_FALSE(parts->state.showAgentCursor());
}

TEST_F(MainWindowTest, permissionsFollowTheMachineWhileItIsOpen)
{
    openMain();
    EXPECT_THAT(words(shown()), Not(HasSubstr(localized("onboarding.openSettings"))));

    platform->systemAccess.granted = {.accessibility = true};
    platform->systemAccess.changed();
    settle();

    EXPECT_THAT(words(shown()), HasSubstr(localized("onboarding.openSettings")));
    press(localized("onboarding.openSettings") + ": " + localized("permission.screenRecording"));
    EXPECT_TRUE(ui->openWindows().shown(AppWindow::permissionHelp));
}

TEST_F(MainWindowTest, escapeClosesAndDestroysIt)
{
    openMain();
    QPointer<QWidget> const window = &shown();

    pressKey(*window, Qt::Key_Escape);

    EXPECT_TRUE(until([&] { return window.isNull(); }));
    EXPECT_FALSE(ui->openWindows().shown(AppWindow::main));
}

TEST_F(MainWindowTest, nonsenseInTheStoredSizeIsIgnored)
{
    platform->settings.setInteger("zelvo.mainWindow.width", -5);
    platform->settings.setInteger("zelvo.mainWindow.height", 1'000'000'000);
    openMain();
    EXPECT_EQ(shown().size(), QSize(880, 620));
}

TEST_F(MainWindowTest, aStoredSizeThatIsLargerThanTheScreenFitsIt)
{
    platform->settings.setInteger("zelvo.mainWindow.width", 9000);
    platform->settings.setInteger("zelvo.mainWindow.height", 9000);

    openMain();

    EXPECT_EQ(shown().size(), QGuiApplication::primaryScreen()->availableGeometry().size());
}

TEST_F(MainWindowTest, theFooterFollowsTheUpdates)
{
    openMain();
    EXPECT_FALSE(named<Button>(shown(), localized("main.checkUpdates")));

    startUpdates();
    platform->programUpdates.fail("The server\nis away");
    settle();

    EXPECT_THAT(words(shown()), HasSubstr("The server is away"));
    press(localized("main.checkUpdates"));
    EXPECT_EQ(platform->programUpdates.checked, 1);
    EXPECT_TRUE(ui->openWindows().shown(AppWindow::updates));
    press(localized("menu.quit"));
    EXPECT_EQ(quits, 1);
}

TEST_F(MainWindowTest, theFooterOffersAnUpdateThatIsReady)
{
    startUpdates();
    platform->programUpdates.fail("The server is away");
    openMain();

    platform->programUpdates.delegate().progressed(
        {.phase = UpdateProgress::Phase::ready, .item = {.displayVersion = "2.5"}});
    settle();

    EXPECT_FALSE(named<Button>(shown(), localized("main.checkUpdates")));
    EXPECT_THAT(words(shown()), Not(HasSubstr("The server is away")));
    press(localized("main.installUpdate", {"2.5"}));
    EXPECT_TRUE(ui->openWindows().shown(AppWindow::updates));
    EXPECT_THAT(platform->notices.shown, testing::IsEmpty());
}

TEST_F(MainWindowTest, ofAPackagedProgramNamesThePackageManagerInsteadOfAButton)
{
    parts->state.setGatewayState(GatewayConnectionState::of(GatewayConnectionState::Kind::updateRequired));
    openMain();

    EXPECT_THAT(words(shown()), HasSubstr(localized("gateway.updateRequired.packaged")));
    EXPECT_FALSE(named<Button>(shown(), localized("status.action.update")));
}

TEST_F(MainWindowTest, cancelKeepsTheConnection)
{
    grant("1", "Acme\nand others");
    openMain();
    trigger(*openMenu("Acme and others"), localized("menu.disconnect"));
    ASSERT_TRUE(until([this] { return !panels->made.empty() && panels->made.back()->isShown; }));
    EXPECT_THAT(panels->made.back()->contents.title, Not(HasSubstr("\n")));

    panels->made.back()->reports.deny();
    settle();

    EXPECT_EQ(parts->state.connections().size(), 1U);
}

TEST_F(MainWindowTest, aLetterPressesEachButtonAlsoAfterItsLabelChanged)
{
    connect();
    openMain();
    press(localized("menu.pause")); // The label is another one now.

    pressKey(shown(), Qt::Key_Alt);

    for (Button* const button : {named<Button>(shown(), localized("menu.resume")),
                                 named<Button>(shown(), localized("main.diagnostics"))}) {
        ASSERT_TRUE(button);
        EXPECT_TRUE(button->text().contains('&')) << button->text().toStdString();
    }
}

TEST_F(MainWindowTest, theChooserSharesAFolder)
{
    platform->fileSystem.addFolder("/home/person/Shared");
    openMain();
    press(localized("main.folders.add"));
    auto* const chooser = shown().findChild<QFileDialog*>();
    ASSERT_TRUE(chooser);
    setLook({.fontScale = 1.2}); // Builds the window's content anew.
    settle();

    Q_EMIT chooser->fileSelected("/home/person/Shared");
    EXPECT_TRUE(until([this] { return words(shown()).find("/home/person/Shared") != std::string::npos; }));
    Q_EMIT chooser->fileSelected("/home/person/Missing");
    EXPECT_TRUE(until(
        [this] { return words(shown()).find(localized("main.folders.refused")) != std::string::npos; }));
}

TEST_F(MainWindowTest, aWindowThatClosesTakesItsChooserAlong)
{
    openMain();
    press(localized("main.folders.add"));
    QPointer<QFileDialog> const chooser = shown().findChild<QFileDialog*>();

    close(AppWindow::main);

    EXPECT_TRUE(until([&] { return chooser.isNull(); }));
}

TEST_F(MainWindowTest, remembersItsSize)
{
    openMain().resize(900, 700);
    settle();
    close(AppWindow::main);
    EXPECT_EQ(openMain().size(), QSize(900, 700));
}

TEST_F(MainWindowTest, foldersAreGrantedAndTakenBack)
{
    platform->fileSystem.addFolder("/home/person/Shared");
    openMain();
    EXPECT_THAT(words(shown()), HasSubstr(localized("main.folders.empty")));

    run(platform->io, parts->folders.add("/home/person/Shared"));
    close(AppWindow::main);
    openMain();
    ASSERT_TRUE(until([this] { return words(shown()).find("/home/person/Shared") != std::string::npos; }));
    press(localized("main.folders.remove") + ": /home/person/Shared");

    EXPECT_TRUE(until([this] { return run(platform->io, parts->folders.list()).empty(); }));
    EXPECT_TRUE(
        until([this] { return words(shown()).find(localized("main.folders.empty")) != std::string::npos; }));
}

TEST_F(MainWindowTest, everyControlHasANameAndIsReachedByTab)
{
    grant("1", "Acme");
    fillLog(5);
    openMain();
    shown().activateWindow();
    ASSERT_TRUE(until([this] { return shown().isActiveWindow(); }));

    std::set<QWidget*> reached;
    for (int i = 0; i < 60; ++i) {
        pressKey(shown(), Qt::Key_Tab);
        if (QWidget* const focus = QApplication::focusWidget()) {
            reached.insert(focus);
            EXPECT_FALSE(focus->accessibleName().isEmpty()) << focus->metaObject()->className();
        }
    }
    for (Button* const button : shown().findChildren<Button*>())
        if (button->isVisible() && button->isEnabled() && !button->isCheckable())
            EXPECT_TRUE(reached.contains(button)) << button->accessibleName().toStdString();
}

} // namespace
} // namespace zelvo::test
