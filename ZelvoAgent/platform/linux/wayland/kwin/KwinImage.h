#pragma once

#include "platform/PixelBuffer.h"
#include "platform/linux/dbus/BusMessages.h"

#include <cstddef>
#include <optional>

namespace zelvo {

/// A picture that KWin took: BGRA, premultiplied, without gaps between the rows.
struct KwinImage {
    int width = 0;
    int height = 0;
    double scale = 1; ///< pixels per point
    PixelBuffer pixels;
};

/// What KWin says of the bytes that it writes into the pipe.
struct KwinImageHeader {
    int width = 0;
    int height = 0;
    int stride = 0; ///< bytes from row to row
    double scale = 1;
    bool isRgba = false;   ///< red first, not blue
    bool isOpaque = false; ///< the fourth byte means nothing
    bool operator==(KwinImageHeader const&) const = default;

    std::size_t size() const { return static_cast<std::size_t>(stride) * static_cast<std::size_t>(height); }
};

/// Checks the reply of ScreenShot2. `nullopt` if a size is out of bounds or the format of the pixels is not
/// known. Thread: any.
std::optional<KwinImageHeader> kwinImageHeader(BusDictionary const& reply);

/// bytes  header.size() of them
KwinImage kwinImage(KwinImageHeader const& header, PixelBuffer bytes);

} // namespace zelvo
