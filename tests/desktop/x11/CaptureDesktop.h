#pragma once

#include "desktop/harness/PainterProcess.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/capture/X11ScreenSource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <set>
#include <span>
#include <string>

namespace zelvo::test {

inline std::span<std::uint8_t const> bytesOf(Picture const& picture)
{
    return {picture.pixels.data(), picture.pixels.size()};
}

/// The colour of a pixel, 0xRRGGBB.
inline std::uint32_t colorAt(Picture const& picture, int x, int y)
{
    std::uint8_t const* pixel =
        picture.pixels.data() + std::size_t(y) * std::size_t(picture.stride) + std::size_t(x) * 4;
    return pixel[0] | std::uint32_t{pixel[1]} << 8 | std::uint32_t{pixel[2]} << 16;
}

inline std::size_t countOf(Picture const& picture, std::uint32_t color)
{
    std::size_t count = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            count += colorAt(picture, x, y) == color;
    return count;
}

/// A private desktop with the screen source under test.
class CaptureDesktop {
public:
    explicit CaptureDesktop(DesktopOptions options = {.sessionBus = false}, bool withCompositor = false)
        : desktop(std::move(options))
    {
        desktop.adoptEnvironment();
        if (withCompositor)
            hasCompositor = desktop.startCompositor();
        connection = X11Connection::open();
        layout = std::make_unique<X11DisplayLayout>(live.contexts(), connection);
        entries = std::make_unique<DesktopEntries>();
        source = std::make_unique<X11ScreenSource>(live.contexts(), clock, connection, *layout, *entries);
    }
    ~CaptureDesktop()
    {
        source.reset();
        live.stop();
    }

    /// The main display in its full size.
    Picture take(std::set<std::string> excluded = {}, int width = 0, int height = 0)
    {
        DisplayLayout const main = layout->current();
        CaptureRequest request{.display = main.displayId,
                               .width = width ? width : main.widthPixels,
                               .height = height ? height : main.heightPixels,
                               .excluded = std::move(excluded)};
        return live.run(source->capture(std::move(request)));
    }

    /// The screen once nothing changes any more; the window manager paints its frames late.
    Picture settledScreen() const
    {
        Painter(desktop.display()).movePointer(desktopCorner.first, desktopCorner.second);
        Picture last;
        int alike = 0;
        require("a screen at rest", [&] {
            Picture next = onTheScreen();
            alike = std::ranges::equal(bytesOf(next), bytesOf(last)) ? alike + 1 : 0;
            last = std::move(next);
            return alike == 5;
        });
        return last;
    }

    /// The screen read independently: a plain GetImage of the root window.
    Picture onTheScreen() const
    {
        Painter reader(desktop.display());
        XReply<xcb_get_geometry_reply_t> const size(
            xcb_get_geometry_reply(reader.x(), xcb_get_geometry(reader.x(), reader.root()), nullptr));
        auto const cookie = xcb_get_image(reader.x(), XCB_IMAGE_FORMAT_Z_PIXMAP, reader.root(), 0, 0,
                                          size->width, size->height, ~0u);
        XReply<xcb_get_image_reply_t> const image(xcb_get_image_reply(reader.x(), cookie, nullptr));
        Picture picture{.width = size->width, .height = size->height, .stride = size->width * 4};
        picture.pixels = PixelBuffer(static_cast<std::size_t>(xcb_get_image_data_length(image.get())));
        std::copy_n(xcb_get_image_data(image.get()), picture.pixels.size(), picture.pixels.data());
        return picture;
    }

    PrivateDesktop desktop;
    LiveContexts live;
    LinuxClock clock{live.contexts().agent};
    std::shared_ptr<X11Connection> connection;
    std::unique_ptr<X11DisplayLayout> layout;
    std::unique_ptr<DesktopEntries> entries;
    std::unique_ptr<X11ScreenSource> source;
    bool hasCompositor = false;
    std::pair<int, int> desktopCorner{1900, 1060}; ///< where the pointer is out of the way
};

/// The number of pixels that differ, except in a square around the pointer.
inline std::size_t
differences(Picture const& left, Picture const& right, std::pair<int, int> pointer = {-100, -100})
{
    if (left.width != right.width || left.height != right.height)
        return ~std::size_t{0};
    std::size_t count = 0;
    for (int y = 0; y < left.height; ++y)
        for (int x = 0; x < left.width; ++x)
            if (std::abs(x - pointer.first) > 32 || std::abs(y - pointer.second) > 32)
                count += colorAt(left, x, y) != colorAt(right, x, y);
    return count;
}

/// Writes a picture into the folder ZELVO_TEST_PICTURES for inspection.
inline void keep(Picture const& picture, std::string const& name)
{
    char const* const folder = std::getenv("ZELVO_TEST_PICTURES");
    if (!folder)
        return;
    std::ofstream file(std::string(folder) + "/" + name + ".ppm", std::ios::binary);
    file << "P6\n" << picture.width << " " << picture.height << "\n255\n";
    for (std::size_t i = 0; i + 3 < picture.pixels.size(); i += 4)
        file.put(char(picture.pixels[i + 2])).put(char(picture.pixels[i + 1])).put(char(picture.pixels[i]));
}

} // namespace zelvo::test
