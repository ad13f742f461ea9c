// The activity log in the main window.
#include "desktop/windows/MainWindowFixture.h"

#include <QClipboard>
#include <QScrollBar>
#include <gmock/gmock.h>

#include <algorithm>

namespace zelvo::test {
namespace {

using testing::HasSubstr;

class MainWindowLogTest : public MainWindowFixture {};

TEST_F(MainWindowLogTest, filtersTheLog)
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

TEST_F(MainWindowLogTest, anEmptyLogSaysWhatWillBeThere)
{
    openMain();
    EXPECT_THAT(words(shown()), HasSubstr(localized("main.empty.hint")));
}

TEST_F(MainWindowLogTest, expandingOneRowClosesTheOther)
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

TEST_F(MainWindowLogTest, aRowWithoutADetailDoesNotExpand)
{
    parts->state.log({.platform = "Acme", .summary = "plain"});
    openMain();

    toggle(rowOf("plain"));

    EXPECT_EQ(list().expanded(), "");
}

TEST_F(MainWindowLogTest, newEntriesKeepWhatIsExpandedSelectedAndInSight)
{
    fillLog(60);
    logCommand("mine", "output");
    openMain();
    toggle(rowOf("mine"));
    list().setCurrentIndex(rowOf("mine"));
    list().verticalScrollBar()->setValue(30);
    settle();
    std::string const id = list().expanded();
    int const top = list().visualRect(rowOf("mine")).top();

    fillLog(3);
    settle();

    EXPECT_EQ(list().expanded(), id);
    ASSERT_TRUE(rows().entryAt(list().currentIndex()));
    EXPECT_EQ(rows().entryAt(list().currentIndex())->summary, "mine");
    EXPECT_EQ(list().visualRect(rowOf("mine")).top(), top);
}

TEST_F(MainWindowLogTest, atItsTopTheListFollowsTheNewestEntry)
{
    fillLog(60);
    openMain();

    fillLog(3);
    settle();

    EXPECT_EQ(list().verticalScrollBar()->value(), 0);
}

TEST_F(MainWindowLogTest, aRowThatMovesToAnotherDayStaysExpandedAndChosen)
{
    fillLog(30);
    logCommand("mine", "output");
    fillLog(30);
    openMain();
    toggle(rowOf("mine"));
    list().setCurrentIndex(rowOf("mine"));

    std::vector<ActivityEntry> entries = parts->state.activity();
    auto const moved = std::ranges::find(entries, "mine", &ActivityEntry::summary);
    moved->at = platform->time.date() + 24h;
    std::rotate(entries.begin(), moved, moved + 1);
    list().setEntries(entries, ActivityFilter::all, platform->time.date() + 24h);
    settle();

    EXPECT_EQ(rowOf("mine").row(), 1); // Below its day.
    EXPECT_EQ(list().currentIndex(), rowOf("mine"));
    EXPECT_TRUE(list().isPersistentEditorOpen(rowOf("mine")));
    EXPECT_EQ(std::ranges::count(list().findChildren<QWidget*>(), localized("main.detail"),
                                 [](QWidget const* each) { return each->accessibleName().toStdString(); }),
              1);
}

TEST_F(MainWindowLogTest, escapeInsideADetailClosesTheWindow)
{
    logCommand("mine", "output");
    openMain();
    toggle(rowOf("mine"));
    named<Button>(shown(), localized("common.copy"))->setFocus();

    pressKey(shown(), Qt::Key_Escape);

    EXPECT_TRUE(until([this] { return !ui->openWindows().shown(AppWindow::main); }));
}

TEST_F(MainWindowLogTest, anotherFontKeepsFilterExpandedRowAndScrolling)
{
    fillLog(60);
    logCommand("mine", "output");
    openMain();
    press(localized("main.filter.terminal"));
    toggle(rowOf("mine"));
    list().verticalScrollBar()->setValue(40);
    settle();

    setLook({.fontScale = 1.2});
    settle();

    EXPECT_TRUE(named<Button>(shown(), localized("main.filter.terminal"))->isChecked());
    EXPECT_EQ(list().expanded(), rows().entryAt(rowOf("mine"))->id);
    EXPECT_TRUE(list().isPersistentEditorOpen(rowOf("mine")));
    EXPECT_EQ(list().verticalScrollBar()->value(), 40);
}

TEST_F(MainWindowLogTest, aFullLogKeepsTheExpandedRowUntilItFallsOut)
{
    logCommand("oldest", "output");
    openMain();
    toggle(rowOf("oldest"));

    fillLog(510);
    settle();

    EXPECT_FALSE(rowOf("oldest").isValid());
    EXPECT_EQ(parts->state.activity().size(), 500u);
}

TEST_F(MainWindowLogTest, copiesTheCommandOfARow)
{
    logCommand("mine", "ls -l\n<b>file</b>");
    openMain();
    toggle(rowOf("mine"));

    press(localized("common.copy"));

    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "ls -l\n<b>file</b>");
}

TEST_F(MainWindowLogTest, dayTitlesChangeAtMidnight)
{
    platform->time.start = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21)) + 12h;
    parts->state.log({.platform = "Acme", .summary = "before"});
    openMain();
    EXPECT_EQ(rows().index(0).data().toString().toStdString(), localized("main.today"));

    platform->time.advance(24h);
    settle();

    EXPECT_EQ(rows().index(0).data().toString().toStdString(), localized("main.yesterday"));
}

TEST_F(MainWindowLogTest, a500EntryWindowIsBuiltQuickly)
{
    fillLog(520);
    openMain();
    EXPECT_GT(rows().rowCount(), 500);
    picture(shown(), "main-500");
}

} // namespace
} // namespace zelvo::test
