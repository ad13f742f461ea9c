#pragma once

#include "app/AppServices.h"
#include "app/diagnostics/RunningApps.h"

#include <boost/signals2/connection.hpp>
#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The list of hidden applications, and the running one that the person picked to hide. Outlives the section
/// that shows it. Thread: main.
class HiddenAppsEditor {
public:
    HiddenAppsEditor(AppServices const& services, RunningApps& apps);
    HiddenAppsEditor(HiddenAppsEditor const&) = delete;
    HiddenAppsEditor& operator=(HiddenAppsEditor const&) = delete;

    std::vector<std::string> const& bundleIds() const { return hidden; }
    /// Reads the stored list again.
    void refresh();

    /// A process; `nullopt` for none. One that no longer runs is dropped.
    std::optional<std::int32_t> pickedToHide() const { return picked; }
    void pick(std::optional<std::int32_t> pid);
    /// True if the picked application has an identifier.
    bool canHide() const { return pickedBundleId().has_value(); }
    void hidePicked();
    void unhide(std::string bundleId);

    boost::signals2::signal<void()> changed;

private:
    std::optional<std::string> pickedBundleId() const;
    void set(std::string bundleId, bool hides);

    AppServices const& services;
    RunningApps& apps;
    std::vector<std::string> hidden;
    std::optional<std::int32_t> picked;
    boost::signals2::scoped_connection following;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
