#include "desktop/windows/DiagnosticsFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

class DiagnosticsQuestionTest : public DiagnosticsFixture {
protected:
    /// Presses the button and waits for the panel.
    void ask()
    {
        press("diag.confirm.show");
        EXPECT_TRUE(says(localized("diag.confirm.waiting")));
        ASSERT_TRUE(until([this] {
            platform->time.advance(10ms);
            return !panels->made.empty() && panels->last().isShown;
        }));
    }
    /// Leaving a question takes a while.
    bool answers(std::string const& key)
    {
        return until([&] {
            platform->time.advance(50ms);
            return says(localized(key));
        });
    }
};

TEST_F(DiagnosticsQuestionTest, reportsAYes)
{
    open(AppWindow::diagnostics);
    ask();

    panels->last().reports.allow(false);

    EXPECT_TRUE(answers("diag.confirm.allowed")) << said();
    EXPECT_FALSE(says(localized("diag.confirm.waiting")));
}

TEST_F(DiagnosticsQuestionTest, reportsANo)
{
    open(AppWindow::diagnostics);
    ask();

    panels->last().reports.deny();

    EXPECT_TRUE(answers("diag.confirm.denied")) << said();
}

TEST_F(DiagnosticsQuestionTest, waitsThreeMinutesForAnAnswer)
{
    open(AppWindow::diagnostics);
    ask();

    platform->time.advance(179s);
    settle();
    EXPECT_TRUE(says(localized("diag.confirm.waiting"))) << said();
    EXPECT_TRUE(panels->last().isShown);

    platform->time.advance(1s);
    settle();
    EXPECT_FALSE(panels->last().isShown);
    EXPECT_TRUE(answers("diag.confirm.timedOut")) << said();
}

TEST_F(DiagnosticsQuestionTest, showsWhereThePanelIs)
{
    open(AppWindow::diagnostics);
    ask();

    platform->time.advance(150ms);
    settle();

    EXPECT_TRUE(says(localized("diag.confirm.frame", {"430.0", "250.0", "420.0", "180.0"}))) << said();
}

TEST_F(DiagnosticsQuestionTest, aRememberedYesAnswersWithoutAPanel)
{
    open(AppWindow::diagnostics);
    ask();
    panels->last().reports.allow(true);
    ASSERT_TRUE(answers("diag.confirm.allowed")) << said();
    ASSERT_EQ(panels->made.size(), 1u);

    press("diag.confirm.show");

    EXPECT_TRUE(says(localized("diag.confirm.allowed"))) << said();
    EXPECT_EQ(panels->made.size(), 1u);
}

TEST_F(DiagnosticsQuestionTest, aPanelThatCannotBeShownCountsAsNoAnswer)
{
    panels->onShow = [](FakePanelRecord&) { throw std::runtime_error("no display"); };
    open(AppWindow::diagnostics);

    press("diag.confirm.show");

    EXPECT_TRUE(answers("diag.confirm.timedOut")) << said();
    EXPECT_FALSE(says(localized("diag.confirm.waiting")));
}

TEST_F(DiagnosticsQuestionTest, aWaitingQuestionSurvivesAChangeOfTheLook)
{
    open(AppWindow::diagnostics);
    ask();
    platform->time.advance(150ms);
    settle();

    changeLook();

    EXPECT_TRUE(says(localized("diag.confirm.waiting"))) << said();
    EXPECT_TRUE(says(localized("diag.confirm.frame", {"430.0", "250.0", "420.0", "180.0"}))) << said();
    panels->last().reports.deny();
    EXPECT_TRUE(answers("diag.confirm.denied")) << said();
}

TEST_F(DiagnosticsQuestionTest, theWindowMayCloseWhileAQuestionWaits)
{
    open(AppWindow::diagnostics);
    ask();

    close(AppWindow::diagnostics);
    ASSERT_FALSE(ui->openWindows().shown(AppWindow::diagnostics));
    platform->time.advance(1s);
    EXPECT_TRUE(panels->last().isShown);
    panels->last().reports.allow(false);
    platform->time.advance(5s);
    settle();

    EXPECT_FALSE(parts->confirmations.hasOpenQuestion());
    open(AppWindow::diagnostics);
    EXPECT_FALSE(says(localized("diag.confirm.allowed"))) << said();
}

} // namespace
} // namespace zelvo::test
