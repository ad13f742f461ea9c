#include "platform/linux/wayland/wlr/UprightPicture.h"

#include <wayland-client-protocol.h>

#include <cstring>
#include <utility>

namespace zelvo {

namespace {

/// Where the colours of a pixel are.
struct PixelShape {
    int bytes;
    int blue;
    int green;
    int red;
};

std::optional<PixelShape> shapeOf(std::uint32_t format)
{
    switch (format) {
    case WL_SHM_FORMAT_ARGB8888:
    case WL_SHM_FORMAT_XRGB8888:
        return PixelShape{.bytes = 4, .blue = 0, .green = 1, .red = 2};
    case WL_SHM_FORMAT_ABGR8888:
    case WL_SHM_FORMAT_XBGR8888:
        return PixelShape{.bytes = 4, .blue = 2, .green = 1, .red = 0};
    case WL_SHM_FORMAT_RGB888:
        return PixelShape{.bytes = 3, .blue = 0, .green = 1, .red = 2};
    case WL_SHM_FORMAT_BGR888:
        return PixelShape{.bytes = 3, .blue = 2, .green = 1, .red = 0};
    default:
        return std::nullopt;
    }
}

/// The first pixel of the upright picture in a frame, and the bytes from there to the next ones.
struct Walk {
    std::ptrdiff_t start = 0;
    std::ptrdiff_t toRight = 0;
    std::ptrdiff_t down = 0;
};

/// The frame without its rotation: along its own rows and columns.
Walk walkOf(RawFrame const& frame, PixelShape const& shape)
{
    std::ptrdiff_t const lastColumn = std::ptrdiff_t{shape.bytes} * (frame.width - 1);
    std::ptrdiff_t const lastRow = std::ptrdiff_t{frame.stride} * (frame.height - 1);
    std::ptrdiff_t const row = frame.isBottomFirst ? -frame.stride : frame.stride;
    std::ptrdiff_t const column = shape.bytes;
    std::ptrdiff_t const top = frame.isBottomFirst ? lastRow : 0;
    std::ptrdiff_t const bottom = lastRow - top;
    switch (frame.transform) {
    case WL_OUTPUT_TRANSFORM_90:
        return {.start = bottom, .toRight = -row, .down = column};
    case WL_OUTPUT_TRANSFORM_180:
        return {.start = bottom + lastColumn, .toRight = -column, .down = -row};
    case WL_OUTPUT_TRANSFORM_270:
        return {.start = top + lastColumn, .toRight = row, .down = -column};
    case WL_OUTPUT_TRANSFORM_FLIPPED:
        return {.start = top + lastColumn, .toRight = -column, .down = row};
    case WL_OUTPUT_TRANSFORM_FLIPPED_90:
        return {.start = top, .toRight = row, .down = column};
    case WL_OUTPUT_TRANSFORM_FLIPPED_180:
        return {.start = bottom, .toRight = column, .down = -row};
    case WL_OUTPUT_TRANSFORM_FLIPPED_270:
        return {.start = bottom + lastColumn, .toRight = -row, .down = -column};
    default:
        return {.start = top, .toRight = column, .down = row};
    }
}

} // namespace

std::optional<std::size_t> bytesOf(RawFrame const& frame)
{
    constexpr int longest = 32768;
    auto const shape = shapeOf(frame.format);
    if (!shape || frame.width < 1 || frame.height < 1 || frame.width > longest || frame.height > longest ||
        frame.stride < frame.width * shape->bytes || frame.stride > longest * 8)
        return std::nullopt;
    auto const bytes = static_cast<std::size_t>(frame.stride) * static_cast<std::size_t>(frame.height);
    return bytes <= std::size_t{1} << 30 ? std::optional(bytes) : std::nullopt;
}

Picture uprightPicture(RawFrame const& frame, std::span<std::uint8_t> pixels, std::shared_ptr<void> owner)
{
    PixelShape const shape = shapeOf(frame.format).value_or(PixelShape{});
    bool const onItsSide = frame.transform & 1;
    Picture picture;
    picture.width = onItsSide ? frame.height : frame.width;
    picture.height = onItsSide ? frame.width : frame.height;
    Walk const walk = walkOf(frame, shape);
    if (walk.start == 0 && walk.toRight == 4 && walk.down == frame.stride && shape.blue == 0) {
        picture.stride = frame.stride;
        picture.pixels = PixelBuffer(pixels, std::move(owner));
        return picture;
    }
    picture.stride = picture.width * 4;
    picture.pixels =
        PixelBuffer(static_cast<std::size_t>(picture.stride) * static_cast<std::size_t>(picture.height));
    std::uint8_t* to = picture.pixels.data();
    for (std::ptrdiff_t y = 0; y < picture.height; ++y) {
        std::uint8_t const* from = pixels.data() + walk.start + y * walk.down;
        for (int x = 0; x < picture.width; ++x, from += walk.toRight, to += 4) {
            to[0] = from[shape.blue];
            to[1] = from[shape.green];
            to[2] = from[shape.red];
        }
    }
    return picture;
}

} // namespace zelvo
