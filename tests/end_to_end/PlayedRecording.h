#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/video/VideoFacts.h"
#include "end_to_end/Pixels.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace zelvo::test {

/// A recording as a player sees it. Throws std::runtime_error when the file is none.
struct PlayedRecording {
    PlayedRecording(PrivateDesktop& desktop, std::filesystem::path const& file);

    VideoFacts facts;
    std::vector<Pixels> frames; ///< in their order
};

/// The colour of a pixel, RRGGBB.
std::uint32_t colorAt(Pixels const& picture, int x, int y);
/// Is every channel of it within what the recording's compression may change?
bool isNear(std::uint32_t color, std::uint32_t wanted);
/// How many pixels of a picture look like that colour.
int pixelsLike(Pixels const& picture, std::uint32_t wanted);

} // namespace zelvo::test
