#include "app/updates/UpdateWindow.h"

#include "app/updates/UpdateNotes.h"
#include "app/widgets/Button.h"
#include "app/widgets/ProgressLine.h"
#include "desktop/windows/WindowsFixture.h"

#include <QClipboard>
#include <QLabel>
#include <QPointer>
#include <QScrollBar>
#include <gmock/gmock.h>

#include <algorithm>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Phase = UpdateProgress::Phase;

class UpdateWindowTest : public WindowsFixture {
protected:
    void SetUp() override
    {
        WindowsFixture::SetUp();
        startUpdates();
    }
    ContentWindow& shown() { return *ui->openWindows().shown(AppWindow::updates); }
    std::string said() { return words(shown()); }
    ProgressLine* line()
    {
        for (auto* const each : shown().findChildren<ProgressLine*>())
            if (each->isVisible())
                return each;
        return nullptr;
    }
    UpdateNotes* notes() { return named<UpdateNotes>(shown(), localized("update.notes")); }
    Button* button(std::string const& key) { return named<Button>(shown(), localized(key)); }
    void press(std::string const& key)
    {
        ASSERT_TRUE(button(key)) << key << "\n" << said();
        button(key)->click();
        settle();
    }
    void become(UpdateProgress progress)
    {
        platform->programUpdates.delegate().progressed(std::move(progress));
        settle();
    }
    void download(std::int64_t received)
    {
        become(
            {.phase = Phase::downloading, .item = item, .receivedBytes = received, .totalBytes = 20'100'000});
    }
    void beReady() { become({.phase = Phase::ready, .item = item}); }

    UpdateItem item{.displayVersion = "2.5", .notes = "Faster\nSmaller"};
};

TEST_F(UpdateWindowTest, followsACheckThatFindsNothing)
{
    platform->programUpdates.findNothing();
    become({});
    open(AppWindow::updates);
    updater->checkNow();
    settle();
    EXPECT_THAT(said(), HasSubstr(localized("update.checking")));
    EXPECT_THAT(said(), Not(HasSubstr(localized("update.newest"))));
    ASSERT_TRUE(line());
    EXPECT_LT(line()->fraction(), 0);

    platform->programUpdates.findNothing();
    become({});

    EXPECT_THAT(said(), HasSubstr(localized("update.newest")));
    EXPECT_THAT(said(), HasSubstr(localized("main.version", {parts->heartbeat.appVersion()})));
    EXPECT_FALSE(line());
    press("common.close");
    EXPECT_FALSE(ui->openWindows().shown(AppWindow::updates));
}

TEST_F(UpdateWindowTest, aFailureSaysWhyAndIsTriedAgain)
{
    platform->programUpdates.fail("The server is away");
    open(AppWindow::updates);
    EXPECT_THAT(said(), HasSubstr(localized("update.failed")));
    EXPECT_THAT(said(), HasSubstr("The server is away"));

    press("update.again");

    EXPECT_EQ(platform->programUpdates.checked, 1);
    EXPECT_THAT(said(), HasSubstr(localized("update.checking")));
    EXPECT_THAT(said(), Not(HasSubstr("The server is away")));
}

TEST_F(UpdateWindowTest, aDownloadMovesTheLineAndBuildsNothingAnew)
{
    open(AppWindow::updates);
    download(0);
    EXPECT_THAT(said(), HasSubstr(localized("update.downloading", {"2.5"})));
    QPointer<ProgressLine> const first = line();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->fraction(), 0);

    download(10'050'000);
    EXPECT_EQ(line(), first);
    EXPECT_DOUBLE_EQ(first->fraction(), 0.5);
    EXPECT_THAT(said(), HasSubstr("10.0 of 20.1 MB"));
    EXPECT_EQ(notes()->toPlainText().toStdString(), "Faster\nSmaller");

    download(20'100'000);
    EXPECT_EQ(line(), first);
    EXPECT_LT(first->fraction(), 0);
    EXPECT_THAT(said(), HasSubstr(localized("update.verifying")));
}

TEST_F(UpdateWindowTest, notesArePlainTextThatScrollsAndIsCopied)
{
    item.notes = "<img src=\"http://127.0.0.1/x\"><b>Bold</b> & more\n";
    for (int i = 0; i < 100; ++i)
        item.notes += "Line " + std::to_string(i) + "\n";
    open(AppWindow::updates);
    beReady();

    ASSERT_TRUE(notes());
    EXPECT_THAT(notes()->toPlainText().toStdString(), HasSubstr("<b>Bold</b> & more\nLine 0"));
    EXPECT_TRUE(notes()->isReadOnly());
    EXPECT_GT(notes()->verticalScrollBar()->maximum(), 0);
    EXPECT_LT(notes()->height(), 300);
    notes()->selectAll();
    notes()->copy();
    EXPECT_THAT(QGuiApplication::clipboard()->text().toStdString(), HasSubstr("<b>Bold</b>"));
}

TEST_F(UpdateWindowTest, withoutNotesThereIsNoHeadingForThem)
{
    item.notes.clear();
    open(AppWindow::updates);
    beReady();

    EXPECT_FALSE(notes());
    EXPECT_THAT(said(), Not(HasSubstr(localized("update.notes"))));
}

TEST_F(UpdateWindowTest, laterOnlyClosesIt)
{
    open(AppWindow::updates);
    beReady();
    EXPECT_THAT(said(), HasSubstr(localized("update.ready", {"2.5"})));
    EXPECT_THAT(said(), HasSubstr(localized("update.ready.detail")));

    press("update.later");

    EXPECT_FALSE(ui->openWindows().shown(AppWindow::updates));
    EXPECT_THAT(restarts, IsEmpty());
    EXPECT_EQ(quits, 0);
}

TEST_F(UpdateWindowTest, asksForTheRestartOnce)
{
    open(AppWindow::updates);
    beReady();

    press("update.install");

    EXPECT_THAT(restarts, SizeIs(1));
    EXPECT_FALSE(button("update.install"));
    ASSERT_TRUE(button("update.restarting"));
    EXPECT_FALSE(button("update.restarting")->isEnabled());
}

TEST_F(UpdateWindowTest, aFailedRestartIsSaidAndCanBeTriedAgain)
{
    open(AppWindow::updates);
    beReady();
    press("update.install");
    EXPECT_THAT(said(), Not(HasSubstr(localized("update.restartFailed"))));

    restarts.back()();
    settle();

    EXPECT_THAT(said(), HasSubstr(localized("update.restartFailed")));
    press("update.install");
    EXPECT_THAT(restarts, SizeIs(2));
    EXPECT_THAT(said(), Not(HasSubstr(localized("update.restartFailed"))));
}

TEST_F(UpdateWindowTest, aRestartMayFailAfterItWasClosed)
{
    open(AppWindow::updates);
    beReady();
    press("update.install");
    close(AppWindow::updates);

    restarts.back()();
    settle();

    EXPECT_FALSE(ui->openWindows().shown(AppWindow::updates));
}

TEST_F(UpdateWindowTest, aChangeOfStatePutsNoOtherButtonUnderThePointerOrTheKeyboard)
{
    item.notes.clear();
    open(AppWindow::updates);
    download(5);
    shown().activateWindow();
    ASSERT_TRUE(until([this] { return shown().isActiveWindow(); }));
    button("common.close")->setFocus();
    QPoint const right = shown().rect().bottomRight() - button("common.close")->geometry().bottomRight();

    beReady();

    EXPECT_EQ(shown().focusWidget(), button("update.later"));
    EXPECT_EQ(shown().rect().bottomRight() - button("update.later")->geometry().bottomRight(), right);
    pressKey(shown(), Qt::Key_Space);
    EXPECT_TRUE(until([this] { return !ui->openWindows().shown(AppWindow::updates); }));
    EXPECT_THAT(restarts, IsEmpty());
}

TEST_F(UpdateWindowTest, everyControlHasANameAndIsReachedByTab)
{
    open(AppWindow::updates);
    beReady();
    shown().activateWindow();
    ASSERT_TRUE(until([this] { return shown().isActiveWindow(); }));

    std::vector<std::string> reached;
    for (int i = 0; i < 3; ++i) {
        pressKey(shown(), Qt::Key_Tab);
        ASSERT_TRUE(shown().focusWidget());
        reached.push_back(shown().focusWidget()->accessibleName().toStdString());
    }

    EXPECT_THAT(reached, testing::ElementsAre(localized("update.notes"), localized("update.install"),
                                              localized("update.later")));
    EXPECT_EQ(std::string(shown().windowTitle().toStdString()), localized("window.updates"));
}

TEST_F(UpdateWindowTest, fewNotesNeedNoScrolling)
{
    item.notes = "- One thing\n- Another one, of which the text does not fit on one line and goes on in the "
                 "next\n- A third";
    open(AppWindow::updates);
    beReady();

    EXPECT_EQ(notes()->verticalScrollBar()->maximum(), 0);
    EXPECT_LT(notes()->height(), 150);
}

TEST_F(UpdateWindowTest, showsTheProgramsIcon)
{
    open(AppWindow::updates);

    auto const labels = shown().findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(
        labels, [](QLabel const* label) { return !label->pixmap(Qt::ReturnByValue).isNull(); }));
}

TEST_F(UpdateWindowTest, escapeClosesItAlsoFromTheNotes)
{
    open(AppWindow::updates);
    beReady();
    notes()->setFocus();

    pressKey(shown(), Qt::Key_Escape);

    EXPECT_TRUE(until([this] { return !ui->openWindows().shown(AppWindow::updates); }));
}

TEST_F(UpdateWindowTest, anotherPaletteKeepsWhatItSays)
{
    open(AppWindow::updates);
    download(10'050'000);

    setLook({.isDark = true});
    settle();

    ASSERT_TRUE(line());
    EXPECT_DOUBLE_EQ(line()->fraction(), 0.5);
    EXPECT_THAT(said(), HasSubstr("10.0 of 20.1 MB"));
}

} // namespace
} // namespace zelvo::test
