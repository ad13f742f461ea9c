#pragma once

#include "base/Clock.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zelvo {

/// The parameters of every recording.
struct RecordingPlan {
    static constexpr std::int32_t framesPerSecond = 8;
    static constexpr std::int64_t maxHeight = 1440; ///< pixels
    static constexpr Duration idleTimeout = 10s;    ///< from the last activity to the pause
    static constexpr Duration resumeWindow = 60s;   ///< from the pause to the end of the recording
    static constexpr double maxSegmentSeconds = 1800.0;
    static constexpr Duration frameInterval = 1000ms / framesPerSecond;
    static constexpr int maxKeyFrameInterval = 10 * framesPerSecond; ///< frames

    /// In pixels.
    struct Size {
        int width = 0;
        int height = 0;
        bool operator==(Size const&) const = default;
    };
    /// One pixel per point, at most `maxHeight` high, both sides even.
    static Size size(std::int64_t widthPoints, std::int64_t heightPoints);
    /// In bits per second.
    static std::int64_t bitRate(std::int64_t width, std::int64_t height);

    /// "Zelvo 2026-11-15 at 12.30.05 — Acme.mp4", in local time. The platform's name may be any text: the
    /// result is always a valid file name without slashes and control characters, and short enough to be
    /// numbered.
    static std::string fileName(Date startedAt, std::string_view platformName);
    /// The name with a number before its extension, such as " 2", for a recording whose name is taken.
    static std::string numbered(std::string_view fileName, int number);
};

} // namespace zelvo
