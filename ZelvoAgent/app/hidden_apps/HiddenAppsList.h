#pragma once

#include "app/AppServices.h"
#include "platform/RunningApplication.h"

#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// An application of the desktop, by the identifier that hides it.
struct NamedApplication {
    std::string identifier;
    std::string name; ///< in the desktop's language; the identifier if it is not installed
    bool operator==(NamedApplication const&) const = default;
};

/// What the person has hidden, what is suggested and what runs, each by name.
struct HiddenAppsSnapshot {
    std::vector<NamedApplication> hidden;
    std::vector<NamedApplication> suggested; ///< installed and not hidden
    std::vector<NamedApplication> running;   ///< not hidden
    bool operator==(HiddenAppsSnapshot const&) const = default;
};

/// Reads all of it: the stored list, the installed applications and the running ones. Thread: main; reads on
/// the workers.
Task<HiddenAppsSnapshot> readHiddenApps(AppServices const& services);

/// Changes the stored list, then calls back on main. The change holds for the next command.
void hideFromAgents(AppServices const& services,
                    std::string identifier,
                    bool hides,
                    std::function<void()> done);

} // namespace zelvo
