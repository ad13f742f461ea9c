#pragma once

#include "app/AppServices.h"
#include "app/main_window/ActivityColumn.h"
#include "app/permissions/PermissionsWatch.h"
#include "app/widgets/ContentWindow.h"

#include <boost/signals2/connection.hpp>

#include <vector>

namespace zelvo {

class Button;
class ConnectionsSection;
class StatusButton;
class StatusHeader;
class TextLabel;
class ThisMacSection;

/// The program's one full window: what agents did, who may act, and how this computer is set up. Thread:
/// main.
class MainWindow final : public ContentWindow {
public:
    explicit MainWindow(AppServices const& services);

protected:
    QWidget* newContent() override;
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* newHeader(QWidget* parent);
    QWidget* newSide(QWidget* parent);
    QWidget* newFooter(QWidget* parent);
    void refresh();
    void refreshUpdates();
    void restoreSize();

    AppServices const& services;
    ActivityColumn::Choice choice;
    PermissionsWatch permissions;
    StatusHeader* header = nullptr;
    TextLabel* pauseKey = nullptr;
    StatusButton* action = nullptr;
    ActivityColumn* activity = nullptr;
    ConnectionsSection* connections = nullptr;
    ThisMacSection* thisMac = nullptr;
    TextLabel* updateFailure = nullptr;
    Button* updates = nullptr;
    Soon refreshSoon{[this] { refresh(); }};
    std::vector<boost::signals2::scoped_connection> following;
};

} // namespace zelvo
