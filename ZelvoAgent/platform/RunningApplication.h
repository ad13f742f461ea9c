#pragma once

#include "base/Clock.h"
#include "platform/ApplicationNames.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// An application that runs.
struct RunningApplication {
    std::int32_t pid = 0;
    ApplicationNames names;
    std::string localizedName;
    std::optional<std::string> bundlePath; ///< the folder of its executable, with links resolved
    std::optional<Date> launchDate;        ///< when its process started
    // Only Workspace::runningApplications() fills the rest.
    bool isRegular = false; ///< owns a normal window or a dialog, minimised or not
    bool isActive = false;  ///< in front
    /// Where Workspace finds it again.
    std::optional<std::string> location = {};
    bool operator==(RunningApplication const&) const = default;
};

} // namespace zelvo
