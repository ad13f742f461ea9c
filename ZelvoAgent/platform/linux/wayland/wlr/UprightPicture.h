#pragma once

#include "platform/ScreenSource.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace zelvo {

/// How a compositor describes a picture of an output.
struct RawFrame {
    std::uint32_t format = 0; ///< of wl_shm
    int width = 0;            ///< pixels of the output before rotation
    int height = 0;
    int stride = 0;             ///< bytes from row to row
    bool isBottomFirst = false; ///< the rows are upside down
    int transform = 0;          ///< wl_output.transform: how the output is rotated
};

/// The bytes of such a frame. `nullopt` if we cannot read its format, or if its sizes are out of reason.
std::optional<std::size_t> bytesOf(RawFrame const& frame);

/// The picture as people see it. Lends the memory if it already is.
/// pixels  at least bytesOf(frame)
/// owner   keeps them alive
Picture uprightPicture(RawFrame const& frame, std::span<std::uint8_t> pixels, std::shared_ptr<void> owner);

} // namespace zelvo
