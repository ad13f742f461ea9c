#pragma once

#include "app/AppServices.h"
#include "app/widgets/ContentWindow.h"
#include "wire/Permissions.h"

#include <boost/signals2/connection.hpp>

#include <memory>
#include <vector>

namespace zelvo {

class CompactActivity;
class LiveAgentsSection;
class StatusButton;
class StatusHeader;
class SwitchRow;
class TextLabel;

/// What drops from the tray's icon: the status and its action, who uses this computer, what happened last.
/// Closes when it loses the keyboard and on a press elsewhere, which need not take the keyboard. Thread:
/// main.
class MenuPanel final : public ContentWindow {
public:
    static constexpr int panelWidth = 320; ///< points

    explicit MenuPanel(AppServices const& services);

    /// Shows the panel beside the icon, or beside the pointer if the tray does not report where the icon is.
    void open(QRect const& icon);

protected:
    QWidget* newContent() override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void addHead(QWidget& content);
    void addRecent(QWidget& content);
    void addFoot(QWidget& content);
    void openWindow(AppWindow which);
    void refresh();
    void fit();
    void pressed(DesktopPoint point);
    bool isOwn(QPoint place) const;

    AppServices const& services;
    Permissions permissions;
    QRect anchor;
    StatusHeader* header = nullptr;
    StatusButton* action = nullptr;
    TextLabel* recording = nullptr;
    LiveAgentsSection* agents = nullptr;
    CompactActivity* recent = nullptr;
    SwitchRow* keepAwake = nullptr;
    QWidget* scrolled = nullptr;
    Soon refreshSoon{[this] { refresh(); }};
    std::vector<boost::signals2::scoped_connection> following;
    std::unique_ptr<PressObservation> presses; // Null while the panel is closed.
};

/// Where a panel of that size is: at the edge of the screen nearest to the icon, beside the icon, inside the
/// work area. All in the same points.
QRect panelPlace(QRect const& icon, QSize const& panel, QRect const& screen, QRect const& workArea);

} // namespace zelvo
