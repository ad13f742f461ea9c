#pragma once

#include "app/AppServices.h"
#include "platform/RunningApplication.h"

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// An application that the person can pick.
struct RunningApp {
    std::int32_t id = 0; ///< of its process
    std::string name;
    std::optional<std::string> bundleId;
    bool operator==(RunningApp const&) const = default;
};

/// The running applications with windows but this program, by name.
std::vector<RunningApp> pickableApps(std::vector<RunningApplication> const& all, std::int32_t ownPid);

/// The applications that the diagnostics window offers, as of the last refresh. Thread: main.
class RunningApps {
public:
    explicit RunningApps(AppServices const& services) : services(services) {}

    std::vector<RunningApp> const& all() const { return apps; }
    /// The place of a process in all(); -1 if it is not there.
    int indexOf(std::optional<std::int32_t> pid) const;
    /// The process at a place of all(); `nullopt` for a place outside.
    std::optional<std::int32_t> pidAt(int index) const;
    /// Reads them again.
    void refresh();

    boost::signals2::signal<void()> changed;

private:
    AppServices const& services;
    std::vector<RunningApp> apps;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
