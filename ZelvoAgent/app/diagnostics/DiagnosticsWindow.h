#pragma once

#include "app/AppServices.h"
#include "app/permissions/PermissionsWatch.h"
#include "app/widgets/ContentWindow.h"

#include <boost/signals2/connection.hpp>

#include <memory>
#include <vector>

namespace zelvo {

class DiagnosticsSection;
class HiddenSection;
class TreeSection;

/// Facts about the program and ways to try its parts, for a person who finds out why an agent misbehaves.
/// Changes only the list of hidden applications. Thread: main.
class DiagnosticsWindow final : public ContentWindow {
public:
    explicit DiagnosticsWindow(AppServices const& services);

protected:
    QWidget* newContent() override;

private:
    void refresh();
    void refreshRunningApps();

    AppServices const& services;
    PermissionsWatch permissions;
    std::vector<DiagnosticsSection*> facts;
    TreeSection* tree = nullptr;
    HiddenSection* hidden = nullptr;
    Soon refreshSoon{[this] { refresh(); }};
    std::vector<boost::signals2::scoped_connection> following;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
