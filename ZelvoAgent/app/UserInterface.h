#pragma once

#include "app/AppServices.h"
#include "app/AppWindows.h"
#include "app/ConsentPresenter.h"
#include "app/menu/MenuPanel.h"
#include "app/menu/TrayIcon.h"
#include "app/welcome/WelcomePresenter.h"
#include "base/DelayedCall.h"

#include <QObject>
#include <boost/signals2/connection.hpp>

#include <memory>
#include <vector>

namespace zelvo {

/// All that the person sees of the program but questions: the tray's icon and its panel, and the windows.
/// Thread: main.
class UserInterface final : public QObject {
public:
    /// given  all but `openWindow`
    UserInterface(AppServices given, ConsentPresenter& consent);
    ~UserInterface() override;

    /// Shows the icon as soon as the desktop has a tray, and welcomes a new person after a second.
    void start();
    /// Opens the main window, or brings a request that waits for an answer to the front.
    void bringToFront();
    /// Takes the icon away for good.
    void hideIcon();
    /// Opens the panel at the place of the icon, or closes it.
    void togglePanel(QRect const& place);
    AppWindows& openWindows() { return windows; }
    TrayIcon const& trayIcon() const { return icon; }
    MenuPanel* shownPanel() const { return panel.get(); }

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    void followTray();
    void drawIcon();
    void welcomeLater();

    AppServices services;
    ConsentPresenter& consent;
    AppWindows windows;
    TrayIcon icon;
    std::unique_ptr<MenuPanel> panel; // Null while it is closed.
    Instant panelClosedAt{};
    bool isIconHidden = false;
    WelcomePresenter welcome;
    DelayedCall welcomeTime;
    Soon drawSoon{[this] { drawIcon(); }};
    std::vector<boost::signals2::scoped_connection> following;
};

} // namespace zelvo
