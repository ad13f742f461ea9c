#include "desktop/windows/DiagnosticsFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class DiagnosticsHiddenTest : public DiagnosticsFixture {
protected:
    void store(std::vector<std::string> const& identifiers)
    {
        platform->settings.setTextArray("dev.zelvo.hiddenApps", identifiers);
    }
    Button* showButton(std::string const& identifier)
    {
        return named<Button>(shown(), localized("diag.hidden.unhide") + ": " + identifier);
    }
    std::string picked() { return picker("diag.hidden.pick").currentText().toStdString(); }
    bool canHide() { return button("diag.hidden.hide")->isEnabled(); }
    void pressWithKeyboard(Button* pressed)
    {
        ASSERT_TRUE(pressed);
        pressed->setFocus();
        pressKey(shown(), Qt::Key_Space);
        settle();
    }
};

TEST_F(DiagnosticsHiddenTest, hidesAndShowsAnApplication)
{
    open(AppWindow::diagnostics);
    EXPECT_THAT(said(), HasSubstr(localized("diag.hidden.empty")));
    EXPECT_FALSE(canHide());

    pick("diag.hidden.pick", "Mail");
    press("diag.hidden.hide");
    ASSERT_TRUE(until([this] { return showButton("org.acme.mail"); }));
    EXPECT_THAT(hidden(), testing::ElementsAre("org.acme.mail"));
    EXPECT_THAT(said(), HasSubstr(localized("diag.hidden.warning")));
    EXPECT_EQ(picked(), "");
    EXPECT_FALSE(canHide());

    showButton("org.acme.mail")->click();
    EXPECT_TRUE(until([this] { return hidden().empty() && says(localized("diag.hidden.empty")); }));
}

TEST_F(DiagnosticsHiddenTest, saysHowManyOfTenThousandItDoesNotShow)
{
    std::vector<std::string> all;
    for (int i = 0; i < 10'000; ++i)
        all.push_back("org.acme.app" + std::to_string(i));
    store(all);

    open(AppWindow::diagnostics);
    open(AppWindow::hiddenApps);

    EXPECT_EQ(hidden().size(), 10'000u);
    EXPECT_THAT(said(), HasSubstr("org.acme.app0"));
    EXPECT_THAT(said(), HasSubstr(localized("queue.andMore", {std::int64_t{9'500}})));
    EXPECT_THAT(words(*ui->openWindows().shown(AppWindow::hiddenApps)), HasSubstr("org.acme.app0"));
}

TEST_F(DiagnosticsHiddenTest, keepsTheChoiceAndTheListWhenTheLookChanges)
{
    store({"org.acme.books"});
    open(AppWindow::diagnostics);
    pick("diag.hidden.pick", "Mail");

    changeLook();

    EXPECT_EQ(picked(), "Mail");
    EXPECT_TRUE(canHide());
    EXPECT_TRUE(showButton("org.acme.books"));
}

TEST_F(DiagnosticsHiddenTest, aRefreshKeepsAnApplicationThatStillRuns)
{
    open(AppWindow::diagnostics);
    pick("diag.hidden.pick", "Mail");

    std::erase_if(platform->desktop.applications, [](auto const& one) { return one.pid == books; });
    press("diag.tree.refreshApps");
    ASSERT_TRUE(until([this] { return picker("diag.hidden.pick").count() == 2; }));
    EXPECT_EQ(picked(), "Mail");
    EXPECT_TRUE(canHide());

    std::erase_if(platform->desktop.applications, [](auto const& one) { return one.pid == mail; });
    press("diag.tree.refreshApps");
    ASSERT_TRUE(until([this] { return picker("diag.hidden.pick").count() == 1; }));
    EXPECT_EQ(picked(), "");
    EXPECT_FALSE(canHide());
}

TEST_F(DiagnosticsHiddenTest, anApplicationWithoutAnIdentifierCannotBeHidden)
{
    platform->desktop.applications.push_back({.pid = 20, .localizedName = "Nameless", .isRegular = true});
    open(AppWindow::diagnostics);

    pick("diag.hidden.pick", "Nameless");
    EXPECT_FALSE(canHide());

    pick("diag.hidden.pick", "Mail");
    EXPECT_TRUE(canHide());
}

TEST_F(DiagnosticsHiddenTest, afterShowTheKeyboardIsAtTheNeighbour)
{
    store({"org.acme.a", "org.acme.b", "org.acme.c"});
    open(AppWindow::diagnostics);
    ASSERT_TRUE(until([this] { return showButton("org.acme.b"); }));

    pressWithKeyboard(showButton("org.acme.b"));
    ASSERT_TRUE(until([this] { return !showButton("org.acme.b"); }));
    EXPECT_EQ(shown().focusWidget(), showButton("org.acme.c"));

    pressWithKeyboard(showButton("org.acme.c"));
    ASSERT_TRUE(until([this] { return !showButton("org.acme.c"); }));
    EXPECT_EQ(shown().focusWidget(), showButton("org.acme.a"));

    pressWithKeyboard(showButton("org.acme.a"));
    ASSERT_TRUE(until([this] { return says(localized("diag.hidden.empty")); }));
    EXPECT_EQ(shown().focusWidget(), &picker("diag.hidden.pick"));
}

TEST_F(DiagnosticsHiddenTest, tabGoesFromRowToRowAndThenToThePicker)
{
    store({"org.acme.a", "org.acme.b"});
    open(AppWindow::diagnostics);
    ASSERT_TRUE(until([this] { return showButton("org.acme.b"); }));
    button("diag.tree.captureIn5")->setFocus();

    pressKey(shown(), Qt::Key_Tab);
    EXPECT_EQ(shown().focusWidget(), showButton("org.acme.a"));
    pressKey(shown(), Qt::Key_Tab);
    EXPECT_EQ(shown().focusWidget(), showButton("org.acme.b"));
    pressKey(shown(), Qt::Key_Tab);
    EXPECT_EQ(shown().focusWidget(), &picker("diag.hidden.pick"));
}

TEST_F(DiagnosticsHiddenTest, theBoxIsLessRoundThanACard)
{
    store({"org.acme.a"});
    open(AppWindow::diagnostics);
    ASSERT_TRUE(until([this] { return showButton("org.acme.a"); }));

    QWidget* const box = showButton("org.acme.a")->parentWidget()->parentWidget();
    QImage const picture = box->grab().toImage();
    // A corner of radius 8 covers half of this pixel; one of radius 10, as cards have, leaves it out.
    EXPECT_NE(picture.pixelColor(2, 2), picture.pixelColor(0, 0));
}

TEST_F(DiagnosticsHiddenTest, afterHideTheKeyboardIsAtTheNeighbour)
{
    open(AppWindow::diagnostics);
    pick("diag.hidden.pick", "Mail");

    pressWithKeyboard(button("diag.hidden.hide"));
    ASSERT_TRUE(until([this] { return showButton("org.acme.mail"); }));

    EXPECT_EQ(shown().focusWidget(), &picker("diag.hidden.pick"));
}

} // namespace
} // namespace zelvo::test
