#pragma once

#include "ZelvoGateway/mcp/SeenElement.h"
#include "wire/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// A size in points.
struct DisplaySize {
    std::int64_t width = 0;
    std::int64_t height = 0;
    bool operator==(DisplaySize const&) const = default;
};

/// "1000x800".
std::string sizeText(DisplaySize size);

/// A place in points of the main display.
struct ScreenPoint {
    double x = 0;
    double y = 0;
    bool operator==(ScreenPoint const&) const = default;
};

/// How large pictures may be.
struct PictureLimits {
    std::int64_t maxWidth = 1'568; ///< pixels
    std::int64_t maxEdge = 1'568;
    std::int64_t maxArea = 1'150'000;

    /// For a client that asked for a width. Without one: what models see without losing detail.
    static PictureLimits forWidth(std::optional<std::int64_t> width);
};

/// How wide a picture of this part of the display may be, in pixels; at least 1.
std::int64_t pictureWidth(DisplaySize part, PictureLimits limits);

/// A picture of this many pixels is within the limits, or at most a rounded edge beyond.
bool fits(DisplaySize pixels, PictureLimits limits);

/// What the coordinates of an answer mean: those of its picture, or of the picture that it would have.
struct ScreenSpace {
    double scale = 1;   ///< pixels per point, more than 0
    ScreenPoint origin; ///< of pixel (0, 0)
    DisplaySize size;   ///< of what is shown; 0 if it is not known

    ScreenPoint toPoints(ScreenPoint shown) const;
    SeenFrame toShown(SeenFrame points) const;
    SeenFrame toPoints(SeenFrame shown) const;
    /// What is shown has this size in its own coordinates.
    DisplaySize shownSize() const;
    /// Always, if the size is not known.
    bool contains(ScreenPoint points) const;
    bool operator==(ScreenSpace const&) const = default;
};

/// The space of pictures of the whole display.
ScreenSpace wholeDisplay(DisplaySize display, PictureLimits limits);

} // namespace zelvo::service
