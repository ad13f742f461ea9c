#pragma once

#include "base/Clock.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What the system knows of a process.
struct ProcessFacts {
    std::int32_t pid = 0;
    std::filesystem::path executable;     ///< links resolved; only a name when the path can't be read
    std::vector<std::string> confinedIds; ///< the id of its Flatpak or Snap
    std::optional<Date> started;
    bool operator==(ProcessFacts const&) const = default;
};

/// Reads /proc. Empty facts for a process that is gone.
ProcessFacts readProcessFacts(std::int32_t pid);
/// The ids in the text of /proc/PID/cgroup.
std::vector<std::string> confinedIdsIn(std::string const& cgroups);

} // namespace zelvo
