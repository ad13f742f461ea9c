#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "drivers/UiElementInfo.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Where a reading of an application's elements begins.
enum class TreeScope {
    frontmost,  ///< the focused window
    allWindows, ///< every window
    menuBar,
};

/// The elements of an application at one moment.
struct UiTreeSnapshot {
    struct App {
        std::string bundleId;
        std::string name;
        bool operator==(App const&) const = default;
    };

    std::string snapshotId; ///< "snp_" and twelve random characters
    std::optional<App> app; ///< nothing when the application has no identifier
    std::vector<UiElementInfo> elements;
    bool truncated = false; ///< a limit ended the reading, or the application fell silent
    Date createdAt;
};

/// Reads the elements of an application. Thread: any; resumes the caller on its own executor.
/// Made by: drivers/AccessibilityTree, tests/fakes/FakeTree.
class TreeCapturing {
public:
    virtual ~TreeCapturing() = default;
    /// interactiveOnly  keeps only what a person can operate
    /// targetPid        the application in front when nothing
    /// Throws AgentError: permissionMissing, machineUnavailable without such an application,
    /// hiddenAppActive for one that the person has hidden.
    virtual Task<UiTreeSnapshot>
    snapshot(TreeScope scope, bool interactiveOnly, std::optional<std::int32_t> targetPid) = 0;
};

} // namespace zelvo
