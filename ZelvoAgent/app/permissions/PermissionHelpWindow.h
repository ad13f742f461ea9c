#pragma once

#include "app/AppServices.h"
#include "app/permissions/PermissionsWatch.h"
#include "app/widgets/FittedWindow.h"

class QVBoxLayout;

namespace zelvo {

class Card;

/// Says why agents cannot see or operate something, and what helps. Thread: main.
class PermissionHelpWindow final : public FittedWindow {
public:
    explicit PermissionHelpWindow(AppServices const& services);

protected:
    QWidget* newColumn() override;

private:
    void addPermission(QVBoxLayout& column,
                       QWidget* content,
                       std::string_view title,
                       bool granted,
                       std::vector<PermissionCause> const& causes);
    void addLacks(QVBoxLayout& column, QWidget* content, std::vector<PermissionCause> const& lacks);
    void addCauses(Card& card, std::vector<PermissionCause> const& causes);

    SystemAccess& access;
    PermissionsWatch permissions;
    Soon rebuildSoon{[this] { rebuild(); }};
};

} // namespace zelvo
