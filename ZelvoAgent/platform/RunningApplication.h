#pragma once

#include "base/Clock.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// This program's own application identifier.
inline constexpr char const* ownBundleIdentifier = "dev.zelvo.agent";

/// The names of an application, the best first; empty if none is known.
struct ApplicationNames {
    std::vector<std::string> names;
    bool operator==(ApplicationNames const&) const = default;

    /// The application's identifier. A name on the hidden list wins, so that hiding errs on the safe side.
    std::optional<std::string> identifier(std::set<std::string> const& hidden) const
    {
        for (std::string const& name : names)
            if (hidden.contains(name))
                return name;
        if (names.empty())
            return std::nullopt;
        return names.front();
    }
};

/// A running application.
struct RunningApplication {
    std::int32_t pid = 0;
    ApplicationNames names;
    std::string localizedName;
    std::optional<std::string> bundlePath; ///< the folder of its executable, with links resolved
    std::optional<Date> launchDate;        ///< when its process started
    // Only Workspace::runningApplications() fills the rest.
    bool isRegular = false; ///< owns a normal window or a dialog, minimised or not
    bool isActive = false;  ///< in front
    /// The path of its desktop entry; without one, the path of its executable unless that is an interpreter.
    std::optional<std::string> location = {};
    bool operator==(RunningApplication const&) const = default;
};

} // namespace zelvo
