#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "drivers/UiElementInfo.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The roots of a snapshot.
enum class TreeScope {
    frontmost,  ///< the focused window
    allWindows, ///< every window
    menuBar,
};

/// The elements of an application at one point in time.
struct UiTreeSnapshot {
    struct App {
        std::string bundleId;
        std::string name;
        bool operator==(App const&) const = default;
    };

    std::string snapshotId; ///< "snp_" and twelve random characters
    std::int32_t pid = 0;   ///< the application's process
    std::optional<App> app; ///< `nullopt` if the application has no identifier
    std::vector<UiElementInfo> elements;
    /// Frames are relative to windows, because nothing says where those are: no place to point at.
    bool isRelative = false;
    std::vector<std::string> names; ///< of the elements then, by which readers find them again
    bool truncated = false;         ///< a limit ended the walk, or the application stopped answering
    Date createdAt;
};

/// Reads the elements of an application. Thread: any; resumes the caller on the caller's executor.
/// Made by: drivers/AccessibilityTree, tests/fakes/FakeTree.
class TreeCapturing {
public:
    virtual ~TreeCapturing() = default;
    /// interactiveOnly  keeps only elements that a person can operate
    /// targetPid        if absent, the frontmost application
    /// Throws AgentError: permissionMissing, machineUnavailable if there is no such application,
    /// hiddenAppActive if the person has hidden it.
    virtual Task<UiTreeSnapshot>
    snapshot(TreeScope scope, bool interactiveOnly, std::optional<std::int32_t> targetPid) = 0;
};

} // namespace zelvo
