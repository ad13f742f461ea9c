#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/video/VideoFacts.h"
#include "end_to_end/Pixels.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace zelvo::test {

/// A recording as a player sees it. Throws std::runtime_error if the file is not a video.
struct PlayedRecording {
    PlayedRecording(PrivateDesktop& desktop, std::filesystem::path const& file);

    VideoFacts facts;
    std::vector<Pixels> frames; ///< in order
};

/// The colour of a pixel, RRGGBB.
std::uint32_t colorAt(Pixels const& picture, int x, int y);
/// Whether every channel is within the tolerance for the recording's compression.
bool isNear(std::uint32_t color, std::uint32_t wanted);
/// Number of pixels near that colour.
int pixelsLike(Pixels const& picture, std::uint32_t wanted);

} // namespace zelvo::test
