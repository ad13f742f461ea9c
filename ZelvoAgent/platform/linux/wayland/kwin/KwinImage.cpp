#include "platform/linux/wayland/kwin/KwinImage.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace zelvo {

namespace {

constexpr std::int64_t maxSide = 32767;
constexpr std::int64_t maxBytes = std::int64_t{1} << 30;

/// Numbers of QImage::Format.
enum Format : std::int64_t {
    rgb32 = 4,
    argb32 = 5, // KWin 5 says so although its pixels are premultiplied.
    argb32Premultiplied = 6,
    rgbx8888 = 16,
    rgba8888 = 17,
    rgba8888Premultiplied = 18,
};

bool readFormat(std::int64_t format, KwinImageHeader& header)
{
    header.isRgba = format >= rgbx8888;
    header.isOpaque = format == rgb32 || format == rgbx8888;
    return (format >= rgb32 && format <= argb32Premultiplied) ||
           (format >= rgbx8888 && format <= rgba8888Premultiplied);
}

void swapRedAndBlue(std::uint8_t* row, int width)
{
    for (int x = 0; x < width; ++x, row += 4)
        std::swap(row[0], row[2]);
}

void fillAlpha(std::uint8_t* row, int width)
{
    for (int x = 0; x < width; ++x)
        row[4 * x + 3] = 255;
}

} // namespace

std::optional<KwinImageHeader> kwinImageHeader(BusDictionary const& reply)
{
    auto const width = entryOf<std::int64_t>(reply, "width").value_or(0);
    auto const height = entryOf<std::int64_t>(reply, "height").value_or(0);
    auto const stride = entryOf<std::int64_t>(reply, "stride").value_or(0);
    double const scale = entryOf<double>(reply, "scale").value_or(1);
    if (entryOf<std::string>(reply, "type") != "raw" || width < 1 || width > maxSide || height < 1 ||
        height > maxSide || stride < width * 4 || stride > maxSide * 8 || stride * height > maxBytes ||
        !(scale >= 0.1) || !(scale <= 20))
        return std::nullopt;
    KwinImageHeader header{.width = static_cast<int>(width),
                           .height = static_cast<int>(height),
                           .stride = static_cast<int>(stride),
                           .scale = scale};
    if (!readFormat(entryOf<std::int64_t>(reply, "format").value_or(0), header))
        return std::nullopt;
    return header;
}

KwinImage kwinImage(KwinImageHeader const& header, PixelBuffer bytes)
{
    int const rowSize = header.width * 4;
    for (int y = 0; y < header.height; ++y) {
        std::uint8_t* const row =
            bytes.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(rowSize);
        if (header.stride != rowSize)
            std::memmove(row,
                         bytes.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(header.stride),
                         static_cast<std::size_t>(rowSize));
        if (header.isRgba)
            swapRedAndBlue(row, header.width);
        if (header.isOpaque)
            fillAlpha(row, header.width);
    }
    return {
        .width = header.width, .height = header.height, .scale = header.scale, .pixels = std::move(bytes)};
}

} // namespace zelvo
