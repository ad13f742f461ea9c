#pragma once

#include "platform/VideoFile.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace zelvo::test {

using namespace std::chrono_literals;

/// The agent's settings: 8 frames per second, a key frame every 80.
inline VideoSettings settingsFor(std::filesystem::path file, int width = 320, int height = 180)
{
    return {.file = std::move(file),
            .width = width,
            .height = height,
            .averageBitRate = std::int64_t{width} * height * 8 / 10,
            .expectedFrameRate = 8,
            .maxKeyFrameInterval = 80};
}

inline void fill(Picture& picture, int x, int y, int width, int height, std::uint32_t color)
{
    for (int row = y; row < std::min(y + height, picture.height); ++row)
        for (int column = x; column < std::min(x + width, picture.width); ++column) {
            std::uint8_t* const pixel = picture.pixels.data() +
                                        std::size_t(row) * std::size_t(picture.stride) +
                                        std::size_t(column) * 4;
            pixel[0] = color & 0xff;
            pixel[1] = color >> 8 & 0xff;
            pixel[2] = color >> 16 & 0xff;
        }
}

inline Picture plainPicture(int width, int height, std::uint32_t color)
{
    // Rows are longer than the picture, as in some screen systems.
    Picture picture{.width = width, .height = height, .stride = width * 4 + 64};
    picture.pixels = PixelBuffer(std::size_t(picture.stride) * std::size_t(height));
    fill(picture, 0, 0, width, height, color);
    return picture;
}

/// A different picture for each number: noise, which no encoder compresses, with a moving square.
inline Picture busyPicture(int width, int height, int number)
{
    Picture picture = plainPicture(width, height, 0x202020);
    std::uint32_t state = std::uint32_t(number) * 2654435761u + 1;
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        state = state * 1664525u + 1013904223u;
        picture.pixels[i] = std::uint8_t(state >> 24);
    }
    fill(picture, number * 8 % width, height / 4, 40, 40, 0xff0000);
    return picture;
}

/// Almost the same as the previous one, like a screen.
inline Picture calmPicture(int width, int height, int number)
{
    Picture picture = plainPicture(width, height, 0x336699);
    fill(picture, number * 8 % width, height / 4, 40, 40, 0xff0000);
    return picture;
}

} // namespace zelvo::test
