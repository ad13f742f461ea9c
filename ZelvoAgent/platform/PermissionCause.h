#pragma once

#include <string>
#include <vector>

namespace zelvo {

/// Why agents lack something that they need.
struct PermissionCause {
    enum class Kind {
        noDisplay,          ///< the display server cannot be reached
        waylandSession,     ///< the X server only shows its windows to a Wayland session
        incompleteServer,   ///< `names`: what the X server lacks, by the extensions' own names
        noAccessibilityBus, ///< its service is not installed or does not answer
        startedTooEarly,    ///< `names`: running applications that can be read only after a restart
    };

    Kind kind{};
    std::vector<std::string> names = {};
    bool operator==(PermissionCause const&) const = default;
};

/// The causes by what they keep away. `startedTooEarly` is in `accessibility`, also while that is granted.
struct PermissionCauses {
    std::vector<PermissionCause> accessibility;
    std::vector<PermissionCause> screenRecording;
    bool operator==(PermissionCauses const&) const = default;
};

} // namespace zelvo
