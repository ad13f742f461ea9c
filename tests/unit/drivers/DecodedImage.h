#pragma once

#include <png.h>
#include <turbojpeg.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace zelvo {

/// A decoded image file: RGB, 8 bits each, rows without padding.
struct DecodedImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    std::array<int, 3> at(int x, int y) const
    {
        std::size_t const first = (static_cast<std::size_t>(y) * width + x) * 3;
        return {pixels.at(first), pixels.at(first + 1), pixels.at(first + 2)};
    }

    static DecodedImage jpeg(std::vector<std::uint8_t> const& data)
    {
        DecodedImage image;
        tjhandle reader = tjInitDecompress();
        int subsampling = 0;
        int colors = 0;
        bool ok = tjDecompressHeader3(reader, data.data(), data.size(), &image.width, &image.height,
                                      &subsampling, &colors) == 0;
        if (ok) {
            image.pixels.resize(static_cast<std::size_t>(image.width) * image.height * 3);
            ok = tjDecompress2(reader, data.data(), data.size(), image.pixels.data(), image.width, 0,
                               image.height, TJPF_RGB, 0) == 0;
        }
        tjDestroy(reader);
        if (!ok)
            throw std::runtime_error("not a JPEG");
        return image;
    }

    static DecodedImage png(std::vector<std::uint8_t> const& data)
    {
        DecodedImage image;
        png_image reader{};
        reader.version = PNG_IMAGE_VERSION;
        if (!png_image_begin_read_from_memory(&reader, data.data(), data.size()))
            throw std::runtime_error(reader.message);
        if (reader.format != PNG_FORMAT_RGB) {
            png_image_free(&reader);
            throw std::runtime_error("not 8-bit RGB without transparency");
        }
        image.width = static_cast<int>(reader.width);
        image.height = static_cast<int>(reader.height);
        image.pixels.resize(PNG_IMAGE_SIZE(reader));
        if (!png_image_finish_read(&reader, nullptr, image.pixels.data(), 0, nullptr))
            throw std::runtime_error(reader.message);
        return image;
    }
};

} // namespace zelvo
