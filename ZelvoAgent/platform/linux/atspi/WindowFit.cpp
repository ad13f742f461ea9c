#include "platform/linux/atspi/WindowFit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

namespace zelvo {

namespace {

/// Without the shadows.
PixelRect bareAreaOf(ProcessWindow const& window)
{
    auto const [left, right, top, bottom] = window.frameExtents;
    PixelRect const& inner = window.inner;
    return {inner.x + left, inner.y + top, inner.width - left - right, inner.height - top - bottom};
}

/// The areas of a window that a top-level element may cover.
std::array<PixelRect, 3> areasOf(ProcessWindow const& window)
{
    return {window.inner, bareAreaOf(window), window.outer};
}

/// A reported length is a whole number of units, so each edge may be off by nearly one.
bool isAlike(double pixels, double reported, double scale)
{
    return std::abs(pixels - reported * scale) <= 2 * scale;
}

bool isAlike(PixelRect const& area, ReportedRect const& reported, double scale)
{
    return isAlike(area.width, reported.width, scale) && isAlike(area.height, reported.height, scale);
}

WindowFit fitAt(ReportedRect const& reported, double scale, double left, double top)
{
    return {.scale = scale, .x = left - reported.x * scale, .y = top - reported.y * scale};
}

std::optional<WindowFit>
exactFit(ReportedRect const& reported, ProcessWindow const& window, std::vector<double> const& scales)
{
    for (double const scale : scales)
        for (PixelRect const& area : areasOf(window))
            if (isAlike(area, reported, scale)) {
                WindowFit fit = fitAt(reported, scale, area.x, area.y);
                fit.exact = true;
                return fit;
            }
    return std::nullopt;
}

/// The application draws a border around the element: equally wide on all sides, or wider at the top, where
/// its title bar is.
std::optional<WindowFit>
borderedFit(ReportedRect const& reported, ProcessWindow const& window, std::vector<double> const& scales)
{
    constexpr double maxBorder = 32;   // units
    constexpr double maxTitleBar = 64; // more than the border
    std::optional<WindowFit> best;
    double smallest = 0;
    for (double const scale : scales)
        for (PixelRect const& area : {bareAreaOf(window), window.inner}) {
            double const across = area.width - reported.width * scale;
            double const down = area.height - reported.height * scale;
            double const titleBar = std::max(0.0, down - across);
            if (std::min(across, down) < -scale ||
                std::max(across, down - titleBar) > 2 * maxBorder * scale || titleBar > maxTitleBar * scale)
                continue;
            if (best && across + down >= smallest)
                continue;
            smallest = across + down;
            double const left = area.x + across / 2;
            best = fitAt(reported, scale, left, area.y + titleBar + (down - titleBar) / 2);
        }
    return best;
}

/// A scale set for the toolkit alone, in tenths or quarters: finer steps would mistake a border for a scale.
void addOddScales(std::vector<double>& scales, double ratio)
{
    if (ratio < 0.4 || ratio > 10)
        return;
    scales.push_back(std::round(ratio * 4) / 4);
    scales.push_back(std::round(ratio * 10) / 10);
}

/// How well an element and a window match; more is better.
struct Likeness {
    int points = 0;
    std::size_t element = 0;
    std::size_t window = 0;
};

bool isSameTitle(std::string const& one, std::string const& other)
{
    // The server's copy may be cut, or have the application's name appended.
    return !one.empty() && !other.empty() && (one.starts_with(other) || other.starts_with(one));
}

int points(ReportedWindow const& element, ProcessWindow const& window, double preferred)
{
    auto const fit = fitWindow(element.onScreen, window, preferred);
    if (!fit)
        return isSameTitle(element.title, window.title) ? 1 : 0;
    int sum = fit->exact ? 4 : 1;
    if (isSameTitle(element.title, window.title))
        sum += 6;
    // If the toolkit reports screen positions, the offset is only rounding.
    if (fit->exact && std::max(std::abs(fit->x), std::abs(fit->y)) <= 2 * fit->scale)
        sum += 3;
    if (!fit->exact && (element.title.empty() || window.overrideRedirect))
        sum = 0;
    return sum;
}

} // namespace

std::optional<WindowFit>
fitWindow(ReportedRect const& reported, ProcessWindow const& window, double preferred)
{
    if (reported.width <= 0 || reported.height <= 0 || window.inner.isEmpty())
        return std::nullopt;
    std::vector<double> const usual = {preferred, 1, 2, 3, 4};
    std::vector<double> all = usual;
    addOddScales(all, static_cast<double>(window.inner.width) / reported.width);
    if (auto fit = exactFit(reported, window, all))
        return fit;
    return borderedFit(reported, window, usual);
}

std::vector<std::optional<std::size_t>> matchWindows(std::vector<ReportedWindow> const& reported,
                                                     std::vector<ProcessWindow> const& windows,
                                                     double preferred)
{
    std::vector<Likeness> pairs;
    for (std::size_t element = 0; element < reported.size(); ++element)
        for (std::size_t window = 0; window < windows.size(); ++window)
            if (int const sum = points(reported[element], windows[window], preferred); sum > 0)
                pairs.push_back({sum, element, window});
    std::ranges::sort(
        pairs, {}, [](Likeness const& pair) { return std::tuple(-pair.points, pair.element, pair.window); });

    std::vector<std::optional<std::size_t>> found(reported.size());
    std::vector<bool> taken(windows.size());
    for (Likeness const& pair : pairs) {
        if (found[pair.element] || taken[pair.window])
            continue;
        found[pair.element] = pair.window;
        taken[pair.window] = true;
    }
    return found;
}

} // namespace zelvo
