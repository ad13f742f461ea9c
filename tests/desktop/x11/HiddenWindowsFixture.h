#pragma once

#include "desktop/harness/WaitFor.h"
#include "desktop/x11/CaptureDesktop.h"

#include <gtest/gtest.h>

#include <xcb/composite.h>

#include <filesystem>
#include <memory>
#include <string>

namespace zelvo::test {

constexpr std::uint32_t planted = 0xff00aa; // Nothing else on these desktops has more red than green in it.
constexpr std::uint32_t behind = 0x123456;

/// The pixels that contain any trace of the planted colour.
inline std::size_t tintedIn(Picture const& picture)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i + 3 < picture.pixels.size(); i += 4)
        count += picture.pixels[i + 2] > picture.pixels[i + 1] + 24;
    return count;
}

/// A program whose windows belong to the application of that name.
inline std::filesystem::path programOf(CaptureDesktop& stage, std::string const& name)
{
    return stage.desktop.home() / "bin" / name;
}

/// The planted pixels of a picture in which the application "secret" is hidden.
inline std::size_t leakOf(CaptureDesktop& stage)
{
    return tintedIn(stage.take({"secret", "Secret", "dev.zelvo.agent"}));
}

class HiddenWindowsAmongOthers : public testing::Test {
protected:
    std::filesystem::path program(std::string const& name) { return programOf(stage, name); }
    std::size_t leak() { return leakOf(stage); }
    /// Redirects the whole desktop a second time, as a second start of the agent does.
    void startAgain()
    {
        stage.source.reset();
        require("the end of the first", [&] { return !isRedirected(); });
        stage.source = std::make_unique<X11ScreenSource>(stage.live.contexts(), stage.clock, stage.connection,
                                                         *stage.layout, *stage.entries);
    }

    /// Are the root's windows redirected to off-screen memory?
    bool isRedirected() const
    {
        Painter probe(stage.desktop.display());
        xcb_connection_t* const x = probe.x();
        auto const window =
            probe.open({.x = 1910, .y = 0, .width = 1, .height = 1, .overrideRedirect = true});
        XReply<xcb_composite_query_version_reply_t> const version(
            xcb_composite_query_version_reply(x, xcb_composite_query_version(x, 0, 4), nullptr));
        auto const cookie = xcb_composite_name_window_pixmap_checked(x, window, xcb_generate_id(x));
        return !XReply<xcb_generic_error_t>(xcb_request_check(x, cookie));
    }

    CaptureDesktop stage;
};

} // namespace zelvo::test
