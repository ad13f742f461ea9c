#include "platform/linux/wayland/kwin/KwinComposition.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <ranges>
#include <set>
#include <string>

namespace zelvo {

namespace {

using Kind = CompositorWindow::Kind;

constexpr int maxDepth = 32; // of dialogs of dialogs

class Decisions {
public:
    Decisions(WindowsNow const& now, FrameSource::LeftOut const& leftOut) : named(leftOut(now))
    {
        for (CompositorWindow const& window : now.windows) {
            byId.emplace(window.id, &window);
            if (window.pid && (window.kind == Kind::dock || window.kind == Kind::desktop))
                shells.insert(*window.pid);
            // The shell shows our own windows to nobody who may not see them.
            isAnyOthers = isAnyOthers || (named.contains(window.id) && window.pid != ::getpid());
        }
    }

    bool isAny() const { return isAnyOthers; }

    bool isLeftOut(CompositorWindow const& window) const
    {
        // A Wayland window without a process is the compositor's: a switcher, which shows others.
        return isOfNamed(window) || (!window.pid && !window.isX11) || (isAny() && isOfShell(window));
    }

private:
    bool isAnyOthers = false;

    bool isOfNamed(CompositorWindow const& window) const
    {
        CompositorWindow const* at = &window;
        for (int depth = 0; depth < maxDepth; ++depth) {
            if (named.contains(at->id))
                return true;
            auto const parent = byId.find(at->parent);
            if (parent == byId.end())
                return false;
            at = parent->second;
        }
        return true;
    }
    bool isOfShell(CompositorWindow const& window) const
    {
        return (window.kind == Kind::popup || window.kind == Kind::overlay) && !window.isActive &&
               window.pid && shells.contains(*window.pid);
    }

    std::map<std::string, CompositorWindow const*> byId;
    std::set<std::string> named;
    std::set<std::int32_t> shells;
};

LogicalRect around(LogicalRect const& one, LogicalRect const& other)
{
    double const x = std::min(one.x, other.x);
    double const y = std::min(one.y, other.y);
    return {.x = x,
            .y = y,
            .width = std::max(one.x + one.width, other.x + other.width) - x,
            .height = std::max(one.y + one.height, other.y + other.height) - y};
}

bool touches(LogicalRect const& one, LogicalRect const& other)
{
    return one.x < other.x + other.width && other.x < one.x + one.width && one.y < other.y + other.height &&
           other.y < one.y + one.height;
}

/// Whether so many pixels are a length of points. KWin rounds both edges if the scale has a fraction.
bool isLength(int pixels, double points, double scale)
{
    double const most = scale == std::floor(scale) ? 0.5 : 1.5;
    return std::abs(pixels - points * scale) <= most;
}

bool hasSize(KwinImage const& image, LogicalRect const& rect)
{
    return isLength(image.width, rect.width, image.scale) && isLength(image.height, rect.height, image.scale);
}

/// The rectangle around all opaque pixels; empty if there is none.
PixelRect opaqueBounds(KwinImage const& image)
{
    int left = image.width;
    int right = -1;
    int top = image.height;
    int bottom = -1;
    std::uint8_t const* pixel = image.pixels.data() + 3;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x, pixel += 4)
            if (*pixel == 255) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = y;
            }
    return {left, top, right - left + 1, bottom - top + 1};
}

/// How far the frame is from an image's left or top edge, if the rest of the image is shadow. A panel has no
/// shadow towards the edges of the screen that it touches.
std::optional<double> marginOfPanel(double extra, double start, double length, double edge, double edgeLength)
{
    if (std::abs(extra) < 1)
        return 0;
    bool const isAtStart = start <= edge;
    bool const isAtEnd = start + length >= edge + edgeLength;
    if (isAtStart == isAtEnd)
        return std::nullopt;
    return isAtStart ? 0 : extra;
}

std::optional<LogicalPoint>
shadowOfPanel(KwinImage const& image, CompositorWindow const& window, LogicalRect const& area)
{
    LogicalRect const& frame = window.frame;
    if (window.kind != Kind::dock)
        return std::nullopt;
    auto const x =
        marginOfPanel(image.width / image.scale - frame.width, frame.x, frame.width, area.x, area.width);
    auto const y =
        marginOfPanel(image.height / image.scale - frame.height, frame.y, frame.height, area.y, area.height);
    if (!x || !y)
        return std::nullopt;
    return LogicalPoint{.x = *x, .y = *y};
}

/// The same for a window whose frame, or at least whose title bar, is opaque; its shadow never is.
std::optional<LogicalPoint> shadowOfFrame(KwinImage const& image, CompositorWindow const& window)
{
    PixelRect const opaque = opaqueBounds(image);
    double const title = window.surface.y - window.frame.y;
    bool const isWide = isLength(opaque.width, window.frame.width, image.scale);
    bool const isHigh = isLength(opaque.height, window.frame.height, image.scale);
    bool const isTitle = title > 0 && isLength(opaque.height, title, image.scale);
    if (!isWide || !(isHigh || isTitle))
        return std::nullopt;
    return LogicalPoint{.x = opaque.x / image.scale, .y = opaque.y / image.scale};
}

/// The area of an image, in the compositor's coordinates.
std::optional<LogicalPoint>
startOf(KwinImage const& image, CompositorWindow const& window, LogicalRect const& area)
{
    LogicalRect const& frame = window.frame;
    if (hasSize(image, window.surface))
        return LogicalPoint{.x = window.surface.x, .y = window.surface.y};
    if (hasSize(image, frame))
        return LogicalPoint{.x = frame.x, .y = frame.y};
    double const width = image.width / image.scale;
    double const height = image.height / image.scale;
    if (width < frame.width - 1 || height < frame.height - 1) {
        // The content of a window on Xwayland, whose place in the frame KWin 5 does not say.
        if (!window.isX11 || width > frame.width + 1 || height > frame.height + 1)
            return std::nullopt;
        double const border = (frame.width - width) / 2;
        return LogicalPoint{.x = frame.x + border, .y = frame.y + frame.height - height - border};
    }
    auto shadow = shadowOfFrame(image, window);
    if (!shadow)
        shadow = shadowOfPanel(image, window, area);
    if (!shadow)
        return std::nullopt;
    return LogicalPoint{.x = frame.x - shadow->x, .y = frame.y - shadow->y};
}

int rounded(double number)
{
    return static_cast<int>(std::lround(number));
}

void drawPixelBelow(std::uint8_t* front, std::uint8_t const* back)
{
    int const seen = 255 - front[3];
    for (int channel = 0; channel < 4; ++channel)
        front[channel] =
            static_cast<std::uint8_t>(std::min(255, front[channel] + (back[channel] * seen + 127) / 255));
}

} // namespace

KwinSelection
selectWindows(WindowsNow const& now, LogicalRect const& area, FrameSource::LeftOut const& leftOut)
{
    Decisions const decisions(now, leftOut);
    KwinSelection selection;
    for (CompositorWindow const& window : now.windows | std::views::reverse) {
        LogicalRect const whole = around(window.frame, window.surface);
        if (!window.isOnScreen)
            continue;
        if (decisions.isLeftOut(window)) {
            selection.leftOut.push_back(whole);
            selection.isLeftOutActive = selection.isLeftOutActive || window.isActive;
        } else if (touches(whole, area)) {
            selection.kept.push_back(window);
        }
    }
    return selection;
}

bool isPointerSecret(KwinSelection const& selection, std::optional<LogicalPoint> pointer)
{
    return !pointer || selection.isLeftOutActive ||
           std::ranges::any_of(selection.leftOut,
                               [&](LogicalRect const& rect) { return rect.contains(*pointer); });
}

std::optional<PixelRect>
placeImage(KwinImage const& image, CompositorWindow const& window, Monitor const& monitor)
{
    auto const start = startOf(image, window, monitor.area);
    if (!start)
        return std::nullopt;
    double const ratio = monitor.scale / image.scale;
    return PixelRect{rounded((start->x - monitor.area.x) * monitor.scale),
                     rounded((start->y - monitor.area.y) * monitor.scale),
                     ratio == 1 ? image.width : rounded(image.width * ratio),
                     ratio == 1 ? image.height : rounded(image.height * ratio)};
}

void drawBelow(Picture& picture, KwinImage const& image, PixelRect const& place)
{
    int const left = std::max(place.x, 0);
    int const right = std::min(place.right(), picture.width);
    int const bottom = std::min(place.bottom(), picture.height);
    for (int y = std::max(place.y, 0); y < bottom; ++y) {
        auto const from = std::int64_t{y - place.y} * image.height / place.height;
        std::uint8_t const* const row = image.pixels.data() + from * image.width * 4;
        std::uint8_t* front =
            picture.pixels.data() + std::int64_t{y} * picture.stride + std::int64_t{left} * 4;
        for (int x = left; x < right; ++x, front += 4)
            if (front[3] != 255)
                drawPixelBelow(front, row + std::int64_t{x - place.x} * image.width / place.width * 4);
    }
}

bool isOpaque(Picture const& picture)
{
    for (int y = 0; y < picture.height; ++y) {
        std::uint8_t const* const row = picture.pixels.data() + std::int64_t{y} * picture.stride;
        for (int x = 0; x < picture.width; ++x)
            if (row[4 * x + 3] != 255)
                return false;
    }
    return true;
}

} // namespace zelvo
