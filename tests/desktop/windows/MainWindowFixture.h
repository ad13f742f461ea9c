#pragma once

#include "app/main_window/ActivityList.h"
#include "app/main_window/MainWindow.h"
#include "app/widgets/Button.h"
#include "desktop/windows/WindowsFixture.h"

#include <QMenu>

namespace zelvo::test {

/// The main window, its log and its menus.
class MainWindowFixture : public WindowsFixture {
protected:
    ContentWindow& openMain() { return open(AppWindow::main); }
    ContentWindow& shown() { return *ui->openWindows().shown(AppWindow::main); }
    ActivityList& list() { return *shown().findChild<ActivityList*>(); }
    ActivityListModel const& rows() { return list().rows(); }
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

} // namespace zelvo::test
