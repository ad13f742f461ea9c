#pragma once

#include <cstdint>

namespace zelvo {

/// What is known of a video of fragments that is complete.
struct GrownVideo {
    std::int64_t packets = 0;
    std::int64_t keyPackets = 0;
    std::int64_t end = 0; ///< when its last frame ends, in video ticks; its first begins at 0
};

/// Writes the same video as a plain MPEG-4 file: the index in front, every frame as long as it was on the
/// screen. from, to: descriptors; `to` is empty. False when it can't be read or written whole. Blocks.
bool rewriteVideo(int from, int to, GrownVideo const& video);

} // namespace zelvo
