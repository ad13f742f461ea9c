#pragma once

#include "base/Clock.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zelvo {

/// What every recording has in common.
struct RecordingPlan {
    static constexpr std::int32_t framesPerSecond = 8;
    static constexpr std::int64_t maxHeight = 1440; ///< lines
    static constexpr Duration idleTimeout = 10s;    ///< from the last activity to the pause
    static constexpr Duration resumeWindow = 60s;   ///< from the pause to the end of the recording
    static constexpr double maxSegmentSeconds = 1800.0;
    static constexpr Duration frameInterval = 1000ms / framesPerSecond;
    static constexpr int maxKeyFrameInterval = 10 * framesPerSecond; ///< frames

    /// Pixels.
    struct Size {
        int width = 0;
        int height = 0;
        bool operator==(Size const&) const = default;
    };
    /// One pixel a point, at most `maxHeight` lines, both sides even.
    static Size size(std::int64_t widthPoints, std::int64_t heightPoints);
    /// Bits a second.
    static std::int64_t bitRate(std::int64_t width, std::int64_t height);

    /// "Zelvo 2026-11-15 at 12.30.05 — Acme.mp4", in local time. The platform's name is foreign: whatever it
    /// is, the result names a file in a folder, has no control characters and fits a file system, numbered
    /// too.
    static std::string fileName(Date startedAt, std::string_view platformName);
    /// The name with " 2" before its extension, for a recording whose name is taken.
    static std::string numbered(std::string_view fileName, int number);
};

} // namespace zelvo
