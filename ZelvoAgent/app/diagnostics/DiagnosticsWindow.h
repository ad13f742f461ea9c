#pragma once

#include "app/AppServices.h"
#include "app/diagnostics/HiddenAppsEditor.h"
#include "app/diagnostics/RunningApps.h"
#include "app/diagnostics/TestQuestion.h"
#include "app/diagnostics/TreeCheck.h"
#include "app/permissions/PermissionsWatch.h"
#include "app/widgets/ContentWindow.h"

#include <boost/signals2/connection.hpp>

#include <vector>

namespace zelvo {

class DiagnosticsSection;

/// Facts about the program and ways to try its parts, for a person who finds out why an agent misbehaves.
/// Changes only the list of hidden applications. Thread: main.
class DiagnosticsWindow final : public ContentWindow {
public:
    explicit DiagnosticsWindow(AppServices const& services);

protected:
    QWidget* newContent() override;

private:
    void refresh();

    AppServices const& services;
    PermissionsWatch permissions;
    // The sections show these and are built anew when the desktop's look changes.
    RunningApps apps;
    TreeCheck tree;
    HiddenAppsEditor hidden;
    TestQuestion question;
    std::vector<DiagnosticsSection*> facts;
    Soon refreshSoon{[this] { refresh(); }};
    std::vector<boost::signals2::scoped_connection> following;
};

} // namespace zelvo
