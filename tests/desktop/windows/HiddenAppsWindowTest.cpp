#include "app/hidden_apps/HiddenAppsWindow.h"

#include "app/widgets/Button.h"
#include "desktop/windows/WindowsFixture.h"

#include <QScrollArea>
#include <QScrollBar>
#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class HiddenAppsWindowTest : public WindowsFixture {
protected:
    void SetUp() override
    {
        WindowsFixture::SetUp();
        for (int i = 0; i < 30; ++i) {
            std::string const number = (i < 10 ? "0" : "") + std::to_string(i);
            platform->desktop.applications.push_back({.pid = 100 + i,
                                                      .names = {{"org.acme.app" + number}},
                                                      .localizedName = "App " + number,
                                                      .isRegular = true});
        }
    }
    ContentWindow& shown() { return *ui->openWindows().shown(AppWindow::hiddenApps); }
    bool shows(std::string const& text) { return words(shown()).find(text) != std::string::npos; }
    Button* button(char const* key, std::string const& name)
    {
        return named<Button>(shown(), localized(key) + ": " + name);
    }
    std::set<std::string> hidden() { return run(platform->io, parts->hiddenApps.bundleIds()); }
};

TEST_F(HiddenAppsWindowTest, hidesAndShowsAndTheKeyboardStaysInPlace)
{
    open(AppWindow::hiddenApps);
    ASSERT_TRUE(until([this] { return shows("App 20"); }));
    shown().activateWindow();
    ASSERT_TRUE(until([this] { return shown().isActiveWindow(); }));
    auto* const scrollBar = shown().findChild<QScrollArea*>()->verticalScrollBar();
    scrollBar->setValue(100);
    button("diag.hidden.hide", "App 20")->setFocus();
    settle();
    ASSERT_EQ(scrollBar->value(), 100);

    button("diag.hidden.hide", "App 20")->click();
    ASSERT_TRUE(until([this] { return button("diag.hidden.unhide", "org.acme.app20") != nullptr; }));
    settle();

    EXPECT_THAT(hidden(), ElementsAre("org.acme.app20"));
    ASSERT_TRUE(shown().focusWidget());
    EXPECT_THAT(shown().focusWidget()->accessibleName().toStdString(), HasSubstr(": App "));
    EXPECT_GT(shown().findChild<QScrollArea*>()->verticalScrollBar()->value(), 0);
    button("diag.hidden.unhide", "org.acme.app20")->click();
    EXPECT_TRUE(until([this] { return hidden().empty() && button("diag.hidden.hide", "App 20"); }));
}

TEST_F(HiddenAppsWindowTest, saysNothingOfTheListBeforeItIsRead)
{
    ui->openWindows().open(AppWindow::hiddenApps);
    EXPECT_FALSE(shows(localized("hidden.none")));

    EXPECT_TRUE(until([this] { return shows(localized("hidden.none")); }));
}

TEST_F(HiddenAppsWindowTest, canBeClosedWhileItReads)
{
    ui->openWindows().open(AppWindow::hiddenApps);
    close(AppWindow::hiddenApps);
    settle();
    EXPECT_FALSE(ui->openWindows().shown(AppWindow::hiddenApps));
}

TEST_F(HiddenAppsWindowTest, tenThousandIdentifiersDoNoHarm)
{
    std::vector<std::string> all;
    for (int i = 0; i < 10'000; ++i)
        all.push_back("org.acme." + std::to_string(i));
    platform->settings.setTextArray("dev.zelvo.hiddenApps", all);

    open(AppWindow::hiddenApps);

    EXPECT_TRUE(until([this] { return shows(localized("queue.andMore", {std::int64_t{9500}})); }));
    EXPECT_THAT(words(shown()), Not(HasSubstr(localized("hidden.none"))));
}

} // namespace
} // namespace zelvo::test
