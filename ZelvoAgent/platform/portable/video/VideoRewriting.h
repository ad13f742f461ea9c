#pragma once

#include <cstdint>

namespace zelvo {

/// Facts about a complete fragmented video.
struct GrownVideo {
    std::int64_t packets = 0;
    std::int64_t keyPackets = 0;
    std::int64_t end = 0; ///< end of the last frame in video ticks; the first starts at 0
};

/// Writes the video as a plain MPEG-4 file: index in front, real frame lengths.
/// from, to  descriptors; `to` is empty
/// False if it can't be read or written completely. Blocks.
bool rewriteVideo(int from, int to, GrownVideo const& video);

} // namespace zelvo
