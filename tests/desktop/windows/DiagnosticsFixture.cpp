#include "desktop/windows/DiagnosticsFixture.h"

#include <QPlainTextEdit>

namespace zelvo::test {

void DiagnosticsFixture::SetUp()
{
    WindowsFixture::SetUp();
    connect();
    addApplication(mail, "org.acme.mail", "Mail");
    addApplication(books, "org.acme.books", "books");
    addApplication(chrome, "com.google.Chrome", "Chrome");
    platform->desktop.applications.push_back(
        {.pid = 14, .names = {{"org.acme.service"}}, .localizedName = "Service"});
    platform->desktop.applications.push_back(
        {.pid = platform->machineFacts.ownPid(), .names = {{"dev.zelvo.agent"}}, .isRegular = true});

    platform->elements.applications[mail].focusedWindow =
        FakeElement{.role = "AXWindow",
                    .title = "Inbox",
                    .children = {{{.role = "AXButton", .title = "Send", .actions = {"press"}},
                                  {.role = "AXStaticText", .title = "No new letters"}}}};
    // It publishes nothing, so its tree is switched on and read again and again.
    platform->elements.applications[chrome].focusedWindow = FakeElement{.role = "AXWindow"};
    platform->elements.applications[chrome].accepts = {{AccessibilityAttribute::manualAccessibility, true}};
}

void DiagnosticsFixture::addApplication(std::int32_t pid, std::string identifier, std::string name)
{
    RunningApplication application;
    application.pid = pid;
    application.names = {{std::move(identifier)}};
    application.localizedName = std::move(name);
    application.isRegular = true;
    platform->desktop.applications.push_back(application);
    platform->desktop.running[pid] = application;
}

void DiagnosticsFixture::press(std::string const& key)
{
    Button* const pressed = button(key);
    ASSERT_TRUE(pressed) << key;
    pressed->click();
    settle();
}

void DiagnosticsFixture::pick(std::string const& key, std::string const& name)
{
    Picker& choice = picker(key);
    ASSERT_TRUE(until([&] { return choice.findText(QString::fromStdString(name)) >= 0; })) << name;
    choice.setFocus();
    pressKey(shown(), Qt::Key_Home);
    for (int i = 0; i < choice.count() && choice.currentText().toStdString() != name; ++i)
        pressKey(shown(), Qt::Key_Down);
    ASSERT_EQ(choice.currentText().toStdString(), name);
    settle();
}

std::string DiagnosticsFixture::report()
{
    for (QPlainTextEdit const* const view : shown().findChildren<QPlainTextEdit*>())
        if (view->isVisible())
            return view->toPlainText().toStdString();
    return "";
}

void DiagnosticsFixture::changeLook()
{
    Button const* const before = button("diag.tree.captureNow");
    setLook({.isDark = true});
    ASSERT_TRUE(until([&] {
        Button const* const now = button("diag.tree.captureNow");
        return now && now != before;
    }));
    settle();
}

} // namespace zelvo::test
