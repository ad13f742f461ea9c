#include "platform/portable/pictures/PicturePart.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

namespace zelvo {

Picture partOf(Picture picture, DisplayPart const& part)
{
    auto const whole = std::make_shared<PixelBuffer>(std::move(picture.pixels));
    auto const offset = static_cast<std::size_t>(part.y) * static_cast<std::size_t>(picture.stride) +
                        static_cast<std::size_t>(part.x) * 4;
    std::span<std::uint8_t> const bytes(whole->data() + offset, whole->size() - offset);
    return {.width = part.width,
            .height = part.height,
            .stride = picture.stride,
            .pixels = PixelBuffer(bytes, whole)};
}

Picture copyOf(Picture const& picture)
{
    Picture copy{.width = picture.width, .height = picture.height, .stride = picture.width * 4};
    auto const line = static_cast<std::size_t>(copy.stride);
    copy.pixels = PixelBuffer(line * static_cast<std::size_t>(copy.height));
    for (int y = 0; y < picture.height; ++y)
        std::memcpy(copy.pixels.data() + static_cast<std::size_t>(y) * line,
                    picture.pixels.data() + std::ptrdiff_t{y} * picture.stride, line);
    return copy;
}

void fill(Picture& picture, DisplayPart const& part, std::uint32_t colour)
{
    int const left = std::clamp(part.x, 0, picture.width);
    int const right = std::clamp(part.x + part.width, left, picture.width);
    int const top = std::clamp(part.y, 0, picture.height);
    int const bottom = std::clamp(part.y + part.height, top, picture.height);
    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right; ++x)
            std::memcpy(picture.pixels.data() + std::ptrdiff_t{y} * picture.stride + std::ptrdiff_t{x} * 4,
                        &colour, sizeof colour);
}

} // namespace zelvo
