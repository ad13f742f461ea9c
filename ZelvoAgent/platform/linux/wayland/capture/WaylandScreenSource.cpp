#include "platform/linux/wayland/capture/WaylandScreenSource.h"

#include "base/Hop.h"
#include "platform/portable/pictures/PicturePart.h"
#include "platform/portable/pictures/PictureScaling.h"

#include <cmath>
#include <string>
#include <utility>

namespace zelvo {

namespace {

constexpr std::uint32_t coverColour = 0x808080;
constexpr int maxAttempts = 5;
constexpr Duration betweenAttempts = 120ms;

Display displayOf(Monitor const& monitor)
{
    return {.id = monitor.id,
            .widthPoints = monitor.area.width,
            .heightPoints = monitor.area.height,
            .scaleFactor = monitor.scale};
}

bool isInside(DisplayPart const& part, Picture const& picture)
{
    return part.width > 0 && part.height > 0 && part.x >= 0 && part.y >= 0 &&
           part.x <= picture.width - part.width && part.y <= picture.height - part.height;
}

Picture fitted(Picture picture, CaptureRequest const& request)
{
    if (request.part) {
        // The monitor may have become smaller since the caller looked.
        if (!isInside(*request.part, picture))
            throw ScreenFailure{"the part is not on the display"};
        picture = partOf(std::move(picture), *request.part);
    }
    return scaled(std::move(picture), request.width, request.height);
}

/// The pixels of a monitor's picture that a window covers, its shadows too.
DisplayPart pixelsOf(CompositorWindow const& window, Monitor const& monitor)
{
    LogicalRect const& area = window.surface.width > window.frame.width ? window.surface : window.frame;
    auto const left = std::floor((area.x - monitor.area.x) * monitor.scale);
    auto const top = std::floor((area.y - monitor.area.y) * monitor.scale);
    return {static_cast<int>(left), static_cast<int>(top),
            static_cast<int>(std::ceil(area.width * monitor.scale)) + 1,
            static_cast<int>(std::ceil(area.height * monitor.scale)) + 1};
}

} // namespace

WaylandScreenSource::WaylandScreenSource(Parts given) : parts(std::move(given)) {}

std::vector<Display> WaylandScreenSource::screens()
{
    std::vector<Display> displays;
    for (Monitor const& monitor : parts.monitors().monitors)
        displays.push_back(displayOf(monitor));
    return displays;
}

Task<std::vector<Display>> WaylandScreenSource::capturableDisplays()
{
    std::vector<Display> displays = parts.isAllowed() ? screens() : std::vector<Display>{};
    std::erase_if(displays, [this](Display const& display) { return !parts.isShared(display.id); });
    co_return displays;
}

Task<Picture> WaylandScreenSource::capture(CaptureRequest request)
{
    if (request.width < 1 || request.height < 1)
        throw ScreenFailure{"a picture needs a width and a height"};
    if (!parts.isAllowed() || !parts.isShared(request.display))
        throw ScreenFailure{"the screen can't be read"};
    if (!parts.monitors().find(request.display))
        throw ScreenFailure{"the display is gone"};
    Picture picture = co_await take(request.display, request.excluded);
    if (!parts.isAllowed()) // It may have taken seconds.
        throw ScreenFailure{"the screen can't be read any more"};
    co_return co_await on(parts.contexts.workers, [&] { return fitted(std::move(picture), request); });
}

Task<Picture> WaylandScreenSource::take(std::uint32_t id, std::set<std::string> excluded)
{
    auto const mustLeaveOut = [&] {
        if (parts.presence.isConnected(excluded))
            return true;
        if (!parts.frames.canLeaveOut())
            return false; // Our own windows are covered.
        auto const own = parts.presence.ownOnScreen();
        return !own || !own->empty();
    };
    if (!co_await on(parts.contexts.workers, mustLeaveOut)) {
        auto const layout = parts.monitors();
        Monitor const* const monitor = layout.find(id);
        if (!monitor)
            throw ScreenFailure{"the display is gone"};
        Picture picture = co_await takeEverything(*monitor);
        // An application may have connected meanwhile and be in the picture already.
        if (!co_await on(parts.contexts.workers, mustLeaveOut))
            co_return std::move(picture);
    }
    if (!parts.frames.canLeaveOut())
        throw ScreenFailure{"a hidden application may be on the screen", true};
    auto const leftOut = [presence = &parts.presence, excluded = std::move(excluded)](WindowsNow const& now) {
        return presence->leftOut(now, excluded);
    };
    co_return co_await takeWithout(id, leftOut);
}

/// While windows appear, close or are shown twice, some compositors cannot say what would be in a picture. If
/// that lasts, the caller learns that something hidden is the reason, and may try again.
Task<Picture> WaylandScreenSource::takeWithout(std::uint32_t id, FrameSource::LeftOut leftOut)
{
    std::string reason;
    for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
        if (attempt > 1) // Nothing can be awaited where the failure is caught.
            co_await parts.clock.sleep(betweenAttempts);
        if (!parts.monitors().find(id))
            throw ScreenFailure{"the display is gone"};
        try {
            co_return co_await parts.frames.without(id, leftOut);
        } catch (ScreenFailure const& failure) {
            reason = failure.reason;
        }
    }
    throw ScreenFailure{std::move(reason), true};
}

Task<Picture> WaylandScreenSource::takeEverything(Monitor monitor)
{
    if (parts.frames.canLeaveOut())
        co_return co_await parts.frames.everything(monitor.id);
    auto const look = [this] { return parts.presence.ownOnScreen(); };
    auto const before = co_await on(parts.contexts.workers, look);
    Picture picture = co_await parts.frames.everything(monitor.id);
    auto const after = co_await on(parts.contexts.workers, look);
    if (!before || !after)
        throw ScreenFailure{"the compositor does not list its windows"};
    auto const cover = [&] {
        for (auto const* const windows : {&*before, &*after})
            for (CompositorWindow const& window : *windows)
                fill(picture, pixelsOf(window, monitor), coverColour);
    };
    co_await on(parts.contexts.workers, cover);
    co_return std::move(picture);
}

void WaylandScreenSource::observeScreens(std::function<void()> observer)
{
    parts.observeMonitors(std::move(observer));
}

} // namespace zelvo
