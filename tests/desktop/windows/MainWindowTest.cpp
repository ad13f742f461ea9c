#include "app/main_window/MainWindow.h"

#include "app/SwitchButton.h"
#include "app/main_window/ActivityList.h"
#include "app/main_window/ConnectionsSection.h"
#include "app/widgets/Button.h"
#include "app/widgets/Picker.h"
#include "desktop/windows/WindowsFixture.h"

#include <QClipboard>
#include <QMenu>
#include <QPointer>
#include <QScrollBar>
#include <gmock/gmock.h>

#include <set>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class MainWindowTest : public WindowsFixture {
protected:
    ContentWindow& openMain() { return open(AppWindow::main); }
    ContentWindow& shown() { return *ui->openWindows().shown(AppWindow::main); }
    ActivityList& list() { return *shown().findChild<ActivityList*>(); }
    ActivityListModel& rows() { return list().rows(); }
    void press(std::string const& button)
    {
        auto* const found = named<Button>(shown(), button);
        ASSERT_TRUE(found) << button << "\n" << words(shown());
        found->click();
        settle();
    }
    QModelIndex rowOf(std::string const& summary)
    {
        for (int i = 0; i < rows().rowCount(); ++i)
            if (ActivityEntry const* const entry = rows().entryAt(rows().index(i));
                entry && entry->summary == summary)
                return rows().index(i);
        return {};
    }
    void logCommand(std::string summary, std::string detail)
    {
        AgentState::LogLine line{.platform = "Acme", .summary = std::move(summary)};
        line.kind = ActivityKind::terminal;
        line.detail = std::move(detail);
        parts->state.log(std::move(line));
    }
    void toggle(QModelIndex const& index)
    {
        Q_EMIT list().clicked(index);
        settle();
    }
    QMenu* openMenu(std::string const& platform)
    {
        named<Button>(shown(), localized("main.manage") + ": " + platform)->click();
        settle();
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (auto* const menu = qobject_cast<QMenu*>(widget); menu && menu->isVisible())
                return menu;
        return nullptr;
    }
    std::string textsOf(QMenu const& menu)
    {
        std::string all;
        for (QAction const* const action : menu.actions())
            all += action->text().toStdString() + (action->isChecked() ? " [x]\n" : "\n");
        return all;
    }
    void trigger(QMenu& menu, std::string const& text)
    {
        for (QAction* const action : menu.actions())
            if (action->text().toStdString() == text) {
                menu.close();
                action->trigger();
                settle();
                return;
            }
        FAIL() << text;
    }
};

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

TEST_F(MainWindowTest, filtersTheLog)
{
    fillLog(9);
    AgentState::LogLine line{.platform = localized("activity.system"), .summary = "An old line"};
    parts->state.log(line);
    openMain();
    int const all = rows().rowCount();

    press(localized("main.filter.terminal"));
    EXPECT_LT(rows().rowCount(), all);
    EXPECT_FALSE(rowOf("An old line").isValid());
    press(localized("main.filter.mac"));
    EXPECT_TRUE(rowOf("An old line").isValid());
    press(localized("main.filter.agents"));
    EXPECT_FALSE(rowOf("An old line").isValid());
}

TEST_F(MainWindowTest, anEmptyLogSaysWhatWillBeThere)
{
    openMain();
    EXPECT_THAT(words(shown()), HasSubstr(localized("main.empty.hint")));
}

TEST_F(MainWindowTest, expandingOneRowClosesTheOther)
{
    logCommand("first", "one\ntwo");
    logCommand("second", "three");
    openMain();

    toggle(rowOf("first"));
    EXPECT_EQ(list().expanded(), rows().entryAt(rowOf("first"))->id);
    toggle(rowOf("second"));
    EXPECT_EQ(list().expanded(), rows().entryAt(rowOf("second"))->id);
    toggle(rowOf("second"));
    EXPECT_EQ(list().expanded(), "");
}

TEST_F(MainWindowTest, aRowWithoutADetailDoesNotExpand)
{
    parts->state.log({.platform = "Acme", .summary = "plain"});
    openMain();

    toggle(rowOf("plain"));

    EXPECT_EQ(list().expanded(), "");
}

TEST_F(MainWindowTest, newEntriesKeepWhatIsExpandedSelectedAndScrolledTo)
{
    fillLog(60);
    logCommand("mine", "output");
    openMain();
    toggle(rowOf("mine"));
    list().setCurrentIndex(rowOf("mine"));
    list().verticalScrollBar()->setValue(30);
    settle();
    std::string const id = list().expanded();

    fillLog(3);
    settle();

    EXPECT_EQ(list().expanded(), id);
    ASSERT_TRUE(rows().entryAt(list().currentIndex()));
    EXPECT_EQ(rows().entryAt(list().currentIndex())->summary, "mine");
}

TEST_F(MainWindowTest, aFullLogKeepsTheExpandedRowUntilItFallsOut)
{
    logCommand("oldest", "output");
    openMain();
    toggle(rowOf("oldest"));

    fillLog(510);
    settle();

    EXPECT_FALSE(rowOf("oldest").isValid());
    EXPECT_EQ(parts->state.activity().size(), 500u);
}

TEST_F(MainWindowTest, copiesTheCommandOfARow)
{
    logCommand("mine", "ls -l\n<b>file</b>");
    openMain();
    toggle(rowOf("mine"));

    press(localized("common.copy"));

    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "ls -l\n<b>file</b>");
}

TEST_F(MainWindowTest, dayTitlesChangeAtMidnight)
{
    platform->time.start = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21)) + 12h;
    parts->state.log({.platform = "Acme", .summary = "before"});
    openMain();
    EXPECT_EQ(rows().index(0).data().toString().toStdString(), localized("main.today"));

    platform->time.advance(24h);
    settle();

    EXPECT_EQ(rows().index(0).data().toString().toStdString(), localized("main.yesterday"));
}

TEST_F(MainWindowTest, a500EntryWindowIsBuiltQuickly)
{
    fillLog(520);
    openMain();
    EXPECT_GT(rows().rowCount(), 500);
    picture(shown(), "main-500");
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
