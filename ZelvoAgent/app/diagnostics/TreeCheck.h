#pragma once

#include "app/AppServices.h"
#include "app/diagnostics/RunningApps.h"
#include "base/DelayedCall.h"

#include <boost/signals2/connection.hpp>
#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Reads the tree of an application as agents get it, at once or after some seconds. Outlives the section
/// that shows it. Thread: main.
class TreeCheck {
public:
    TreeCheck(AppServices const& services, RunningApps& apps);
    TreeCheck(TreeCheck const&) = delete;
    TreeCheck& operator=(TreeCheck const&) = delete;

    /// The process to read; `nullopt` for the application in front. A process that no longer runs is
    /// deselected.
    std::optional<std::int32_t> selectedPid() const { return selected; }
    void select(std::optional<std::int32_t> pid) { selected = pid; }
    bool isInteractiveOnly() const { return interactiveOnly; }
    void setInteractiveOnly(bool on) { interactiveOnly = on; }

    /// The last reading, or what goes on now; empty before the first.
    std::string const& report() const { return treeReport; }
    /// Counts down or reads.
    bool isBusy() const { return isSnapshotting || countdown > 0; }

    /// No effect while it is busy.
    void snapshotNow();
    /// Counts down first, which gives the person time to bring another application to the front. No effect
    /// while it is busy.
    void snapshotAfter(int seconds);

    boost::signals2::signal<void()> changed;

private:
    void countDown();
    void performSnapshot();
    void setReport(std::string text);

    AppServices const& services;
    std::optional<std::int32_t> selected;
    bool interactiveOnly = false;
    bool isSnapshotting = false;
    int countdown = 0; ///< seconds
    std::string treeReport;
    DelayedCall nextSecond;
    boost::signals2::scoped_connection following;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
