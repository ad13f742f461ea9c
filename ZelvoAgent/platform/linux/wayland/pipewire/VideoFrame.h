#pragma once

#include "platform/ScreenSource.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zelvo {

/// A frame of a stream, in memory that the sender shares. The sender writes to it again when the last copy of
/// `lease` is gone, so copy its pixels soon.
struct VideoFrame {
    std::shared_ptr<void> lease;
    std::uint8_t const* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
    bool isRedFirst = false; ///< bytes in the order RGBX; else BGRX
    int card = -1;           ///< a descriptor of the memory if it is a graphics card's; valid with `lease`
};

/// A copy as pictures have it. Blocks for some milliseconds.
Picture copyOf(VideoFrame const& frame);
/// Two frames with different pixels have different digests, but for one in 2^64. Blocks for a millisecond.
std::uint64_t digestOf(VideoFrame const& frame);

} // namespace zelvo
