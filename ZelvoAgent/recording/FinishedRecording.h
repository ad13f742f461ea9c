#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvo {

/// A recording that is closed and complete.
struct FinishedRecording {
    std::filesystem::path file;
    std::optional<std::string> connectionId; ///< whose agent was recorded
    std::string platformName;
    double durationSec = 0;
    bool operator==(FinishedRecording const&) const = default;
};

} // namespace zelvo
