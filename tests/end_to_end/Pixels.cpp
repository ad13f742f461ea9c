#include "end_to_end/Pixels.h"

#include <png.h>
#include <turbojpeg.h>

#include <cstdlib>
#include <stdexcept>

namespace zelvo::test {

namespace {

Pixels pixelsOfPng(std::string const& file)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, file.data(), file.size()))
        throw std::runtime_error(image.message);
    image.format = PNG_FORMAT_RGB;
    Pixels pixels{static_cast<int>(image.width), static_cast<int>(image.height), {}};
    pixels.bytes.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.bytes.data(), 0, nullptr))
        throw std::runtime_error(image.message);
    return pixels;
}

Pixels pixelsOfJpeg(std::string const& file)
{
    auto const* const data = reinterpret_cast<unsigned char const*>(file.data());
    tjhandle decoder = tjInitDecompress();
    Pixels pixels;
    int subsampling = 0;
    int space = 0;
    bool read = tjDecompressHeader3(decoder, data, file.size(), &pixels.width, &pixels.height, &subsampling,
                                    &space) == 0;
    pixels.bytes.resize(static_cast<std::size_t>(pixels.width) * pixels.height * 3);
    read = read && tjDecompress2(decoder, data, file.size(), pixels.bytes.data(), pixels.width, 0,
                                 pixels.height, TJPF_RGB, 0) == 0;
    tjDestroy(decoder);
    if (!read)
        throw std::runtime_error("no JPEG file");
    return pixels;
}

} // namespace

Pixels pixelsOf(std::string const& file, std::string const& mime)
{
    if (mime == "image/png")
        return pixelsOfPng(file);
    if (mime == "image/jpeg")
        return pixelsOfJpeg(file);
    throw std::runtime_error("a picture of the kind " + mime);
}

Pixels pixelsOfRoot(xcb_connection_t* connection)
{
    xcb_screen_t const* const screen = screenOf(connection);
    auto const cookie = xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, 0,
                                      screen->width_in_pixels, screen->height_in_pixels, ~0u);
    XReply<xcb_get_image_reply_t> const reply(xcb_get_image_reply(connection, cookie, nullptr));
    if (!reply)
        throw std::runtime_error("the display cannot be read");
    Pixels pixels{screen->width_in_pixels, screen->height_in_pixels, {}};
    std::uint8_t const* const data = xcb_get_image_data(reply.get());
    int const count = pixels.width * pixels.height;
    for (int pixel = 0; pixel < count; ++pixel) // Four bytes each: blue, green, red, nothing.
        for (int const channel : {2, 1, 0})
            pixels.bytes.push_back(data[pixel * 4 + channel]);
    return pixels;
}

int differences(Pixels const& first, Pixels const& second, PaintedArea leftOut, int tolerance)
{
    if (first.width != second.width || first.height != second.height)
        return first.width * first.height;
    int count = 0;
    for (int y = 0; y < first.height; ++y)
        for (int x = 0; x < first.width; ++x) {
            bool const isLeftOut = x >= leftOut.x && x < leftOut.x + leftOut.width && y >= leftOut.y &&
                                   y < leftOut.y + leftOut.height;
            std::size_t const at = (static_cast<std::size_t>(y) * first.width + x) * 3;
            bool differs = false;
            for (std::size_t channel = 0; channel < 3; ++channel)
                differs =
                    differs || std::abs(first.bytes[at + channel] - second.bytes[at + channel]) > tolerance;
            count += differs && !isLeftOut;
        }
    return count;
}

} // namespace zelvo::test
