#pragma once

#include "app/AppServices.h"
#include "app/permissions/PermissionsWatch.h"
#include "app/welcome/WelcomeSteps.h"
#include "app/widgets/FittedWindow.h"

#include <boost/signals2/connection.hpp>

#include <string>
#include <vector>

class QVBoxLayout;

namespace zelvo {

/// Takes a person through what the program needs, and follows what is done. Thread: main.
class WelcomeWindow final : public FittedWindow {
public:
    explicit WelcomeWindow(AppServices const& services);

protected:
    QWidget* newColumn() override;
    void closeEvent(QCloseEvent* event) override;

private:
    WelcomeSteps::Steps steps() const;
    void addHead(QVBoxLayout& column, QWidget* content);
    void addProgress(QVBoxLayout& column, QWidget* content);
    void addFoot(QVBoxLayout& column, QWidget* content);
    QWidget* newRow(WelcomeSteps::Step const& step, QWidget* parent);
    std::optional<PermissionCause> requestable(int id) const;
    void act(int id);
    void follow();

    AppServices const& services;
    PermissionsWatch permissions;
    int shownDone = 0; // A bit for each step that is shown as done.
    PermissionCauses shownCauses;
    Soon followSoon{[this] { follow(); }};
    std::vector<boost::signals2::scoped_connection> following;
};

} // namespace zelvo
