#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvo {

/// A complete recording whose file is closed.
struct FinishedRecording {
    std::filesystem::path file;
    std::optional<std::string> connectionId; ///< the connection whose agent was recorded
    std::string platformName;
    double durationSec = 0;
    bool operator==(FinishedRecording const&) const = default;
};

} // namespace zelvo
