#include "app/SwitchButton.h"
#include "desktop/windows/DiagnosticsFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class DiagnosticsTreeTest : public DiagnosticsFixture {
protected:
    bool hasReportOf(std::string const& name)
    {
        return report().starts_with(localized("diag.tree.report.app", {name}));
    }
    static std::string secondsLeft(std::int64_t seconds)
    {
        return localized("diag.tree.countdown", {seconds});
    }
    static std::string failed(std::string const& reason)
    {
        return localized("diag.tree.failed", {localized(reason)});
    }
    void turnInteractiveOnly()
    {
        named<SwitchButton>(shown(), localized("diag.tree.interactiveOnly"))->click();
        settle();
    }
    bool isInteractiveOnly()
    {
        return named<SwitchButton>(shown(), localized("diag.tree.interactiveOnly"))->isChecked();
    }
    std::string picked() { return picker("diag.tree.app").currentText().toStdString(); }
};

TEST_F(DiagnosticsTreeTest, listsRunningApplicationsByNameAndNeverItself)
{
    open(AppWindow::diagnostics);
    ASSERT_TRUE(until([this] { return picker("diag.tree.app").count() > 1; }));

    ASSERT_EQ(picker("diag.tree.app").count(), 4);
    EXPECT_EQ(picker("diag.tree.app").itemText(0).toStdString(), localized("diag.tree.frontmost"));
    EXPECT_EQ(picker("diag.tree.app").itemText(1), "books");
    EXPECT_EQ(picker("diag.tree.app").itemText(2), "Chrome");
    EXPECT_EQ(picker("diag.tree.app").itemText(3), "Mail");
}

TEST_F(DiagnosticsTreeTest, readsThePickedApplication)
{
    open(AppWindow::diagnostics);
    pick("diag.tree.app", "Mail");

    press("diag.tree.captureNow");

    ASSERT_TRUE(until([this] { return hasReportOf("Mail"); })) << report();
    EXPECT_THAT(report(),
                HasSubstr(localized("diag.tree.report.mode", {localized("diag.tree.report.full")})));
    EXPECT_THAT(report(), HasSubstr("AXButton title=\"Send\" actions=press"));
    EXPECT_THAT(report(), HasSubstr("title=\"No new letters\""));
    EXPECT_THAT(platform->elements.readers, testing::Each(mail));
}

TEST_F(DiagnosticsTreeTest, readsOnlyWhatCanBeOperatedIfTheSwitchIsOn)
{
    open(AppWindow::diagnostics);
    pick("diag.tree.app", "Mail");
    turnInteractiveOnly();

    press("diag.tree.captureNow");

    ASSERT_TRUE(until([this] { return hasReportOf("Mail"); })) << report();
    EXPECT_THAT(report(),
                HasSubstr(localized("diag.tree.report.mode", {localized("diag.tree.report.interactive")})));
    EXPECT_THAT(report(), HasSubstr("title=\"Send\""));
    EXPECT_THAT(report(), Not(HasSubstr("No new letters")));
}

TEST_F(DiagnosticsTreeTest, readsTheApplicationInFrontUnlessOneIsPicked)
{
    platform->desktop.front = platform->desktop.running[mail];
    open(AppWindow::diagnostics);

    press("diag.tree.captureNow");

    EXPECT_TRUE(until([this] { return hasReportOf("Mail"); })) << report();
}

TEST_F(DiagnosticsTreeTest, countsDownAndIgnoresASecondPress)
{
    open(AppWindow::diagnostics);
    press("diag.tree.captureIn5");
    EXPECT_THAT(report(), HasSubstr(secondsLeft(5)));
    platform->time.advance(1s);
    settle();
    EXPECT_THAT(report(), HasSubstr(secondsLeft(4)));

    press("diag.tree.captureIn5");
    EXPECT_THAT(report(), HasSubstr(secondsLeft(4)));

    platform->time.advance(4s);
    // Nothing is in front in this machine, so the reading fails; that is said.
    EXPECT_TRUE(until([this] { return report() == failed("diag.tree.error.noApplication"); })) << report();
}

TEST_F(DiagnosticsTreeTest, readNowIsDisabledWhileItCountsAndReads)
{
    open(AppWindow::diagnostics);
    pickSlowApplication();
    press("diag.tree.captureIn5");
    EXPECT_FALSE(button("diag.tree.captureNow")->isEnabled());

    platform->time.advance(5s);
    ASSERT_TRUE(until([this] { return isReading(); })) << report();
    EXPECT_FALSE(button("diag.tree.captureNow")->isEnabled());
    press("diag.tree.captureIn5");
    EXPECT_TRUE(isReading());

    platform->time.advance(10s);
    ASSERT_TRUE(until([this] { return hasReportOf("Chrome"); })) << report();
    EXPECT_TRUE(button("diag.tree.captureNow")->isEnabled());
    EXPECT_THAT(report(),
                HasSubstr(localized("diag.tree.report.chromium", {localized("diag.tree.report.expanded")})));
}

TEST_F(DiagnosticsTreeTest, keepsTheChoiceAndTheReportWhenTheLookChanges)
{
    open(AppWindow::diagnostics);
    pick("diag.tree.app", "Mail");
    turnInteractiveOnly();
    press("diag.tree.captureNow");
    ASSERT_TRUE(until([this] { return hasReportOf("Mail"); })) << report();

    changeLook();

    EXPECT_EQ(picked(), "Mail");
    EXPECT_TRUE(isInteractiveOnly());
    EXPECT_TRUE(hasReportOf("Mail")) << report();
}

TEST_F(DiagnosticsTreeTest, countsOnWhenTheLookChanges)
{
    open(AppWindow::diagnostics);
    pick("diag.tree.app", "Mail");
    press("diag.tree.captureIn5");
    platform->time.advance(2s);
    settle();

    changeLook();

    EXPECT_THAT(report(), HasSubstr(secondsLeft(3)));
    EXPECT_FALSE(button("diag.tree.captureNow")->isEnabled());
    platform->time.advance(3s);
    EXPECT_TRUE(until([this] { return hasReportOf("Mail"); })) << report();
}

TEST_F(DiagnosticsTreeTest, readsOnWhenTheLookChanges)
{
    open(AppWindow::diagnostics);
    pickSlowApplication();
    press("diag.tree.captureNow");
    ASSERT_TRUE(isReading()) << report();

    changeLook();

    EXPECT_TRUE(isReading()) << report();
    EXPECT_FALSE(button("diag.tree.captureNow")->isEnabled());
    platform->time.advance(10s);
    EXPECT_TRUE(until([this] { return hasReportOf("Chrome"); })) << report();
    EXPECT_TRUE(button("diag.tree.captureNow")->isEnabled());
}

TEST_F(DiagnosticsTreeTest, readsNothingIfTheWindowClosesDuringTheCountdown)
{
    platform->desktop.front = platform->desktop.running[mail];
    open(AppWindow::diagnostics);
    press("diag.tree.captureIn5");

    close(AppWindow::diagnostics);
    platform->time.advance(6s);
    settle();

    EXPECT_THAT(platform->elements.readers, IsEmpty());
}

TEST_F(DiagnosticsTreeTest, theWindowMayCloseDuringAReading)
{
    open(AppWindow::diagnostics);
    pickSlowApplication();
    press("diag.tree.captureNow");
    ASSERT_TRUE(isReading()) << report();

    close(AppWindow::diagnostics);
    ASSERT_FALSE(ui->openWindows().shown(AppWindow::diagnostics));
    platform->time.advance(10s);
    settle();

    open(AppWindow::diagnostics);
    EXPECT_EQ(report(), "");
    EXPECT_TRUE(button("diag.tree.captureNow")->isEnabled());
}

TEST_F(DiagnosticsTreeTest, aRefreshKeepsAnApplicationThatStillRuns)
{
    open(AppWindow::diagnostics);
    pick("diag.tree.app", "Mail");

    std::erase_if(platform->desktop.applications, [](auto const& one) { return one.pid == books; });
    press("diag.tree.refreshApps");
    ASSERT_TRUE(until([this] { return picker("diag.tree.app").count() == 3; }));
    EXPECT_EQ(picked(), "Mail");

    std::erase_if(platform->desktop.applications, [](auto const& one) { return one.pid == mail; });
    press("diag.tree.refreshApps");
    ASSERT_TRUE(until([this] { return picker("diag.tree.app").count() == 2; }));
    EXPECT_EQ(picked(), localized("diag.tree.frontmost"));
    press("diag.tree.captureNow");
    EXPECT_TRUE(until([this] { return report() == failed("diag.tree.error.noApplication"); })) << report();
}

TEST_F(DiagnosticsTreeTest, saysInThePersonsLanguageWhyAReadingFailed)
{
    platform->systemAccess.granted.accessibility = false;
    texts::useLanguage("ru");
    open(AppWindow::diagnostics);

    press("diag.tree.captureNow");

    ASSERT_TRUE(until([this] { return !report().empty() && !isReading(); }));
    EXPECT_EQ(report(), failed("diag.tree.error.permission"));
    EXPECT_THAT(report(), Not(testing::ContainsRegex("[A-Za-z]")));
}

TEST_F(DiagnosticsTreeTest, aReadingThatBreaksEndsWithAReport)
{
    platform->desktop.onLook = [](int) { throw std::runtime_error("the display is gone"); };
    open(AppWindow::diagnostics);

    press("diag.tree.captureNow");

    EXPECT_TRUE(until([this] { return !isReading(); }));
    EXPECT_EQ(report(), localized("diag.tree.failed", {"the display is gone"}));
    EXPECT_TRUE(button("diag.tree.captureNow")->isEnabled());
}

} // namespace
} // namespace zelvo::test
