#include "platform/linux/x11/capture/PixelCopy.h"

#include <algorithm>
#include <cstring>

namespace zelvo {

namespace {

template <class Row>
void eachRow(Picture& picture, PixelSource const& source, PixelRect const& part, Row row)
{
    PixelRect const whole{0, 0, picture.width, picture.height};
    PixelRect const common = intersection(intersection(part, source.area), whole);
    for (int y = common.y; y < common.bottom(); ++y) {
        std::uint8_t const* from =
            source.pixels + (std::size_t(y - source.area.y) * std::size_t(source.area.width) +
                             std::size_t(common.x - source.area.x)) *
                                4;
        std::uint8_t* to =
            picture.pixels.data() + std::size_t(y) * std::size_t(picture.stride) + std::size_t(common.x) * 4;
        row(to, from, std::size_t(common.width));
    }
}

} // namespace

void copyPixels(Picture& picture, PixelSource const& source, PixelRect const& part)
{
    eachRow(picture, source, part, [](std::uint8_t* to, std::uint8_t const* from, std::size_t count) {
        std::memcpy(to, from, count * 4);
    });
}

void blendPixels(Picture& picture, PixelSource const& source, PixelRect const& part)
{
    eachRow(picture, source, part, [](std::uint8_t* to, std::uint8_t const* from, std::size_t count) {
        for (std::size_t i = 0; i < count * 4; i += 4) {
            unsigned const rest = 255u - from[i + 3];
            for (std::size_t channel = 0; channel < 3; ++channel)
                to[i + channel] = static_cast<std::uint8_t>(
                    std::min(255u, from[i + channel] + (to[i + channel] * rest + 127u) / 255u));
        }
    });
}

} // namespace zelvo
