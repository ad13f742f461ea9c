#include "drivers/ScreenCapture.h"

#include "base/Hop.h"
#include "drivers/ImageEncoder.h"
#include "drivers/ScreenRegion.h"
#include "platform/RunningApplication.h"
#include "wire/AgentError.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zelvo {

namespace {

std::uint32_t chosenDisplay(std::vector<Display> const& displays, std::uint32_t wanted)
{
    if (displays.empty())
        throw AgentError::permissionMissing;
    bool const found =
        std::ranges::any_of(displays, [&](Display const& display) { return display.id == wanted; });
    return found ? wanted : displays.front().id;
}

/// Clamps to int, because the agent chooses maxWidth. NaN, from a display without an extent, becomes 0.
int bounded(double size)
{
    if (std::isnan(size))
        return 0;
    constexpr double minValue = std::numeric_limits<int>::min();
    constexpr double maxValue = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::round(size), minValue, maxValue));
}

std::vector<std::uint8_t> encode(Picture const& picture, ScreenshotOptions const& options)
{
    if (options.format == ScreenshotOptions::ImageFormat::png)
        return imageEncoder::png(picture);
    return imageEncoder::jpeg(picture, options.quality);
}

} // namespace

DisplayGeometry DisplayGeometry::of(Display const& display)
{
    return {static_cast<std::int64_t>(display.widthPoints), static_cast<std::int64_t>(display.heightPoints),
            display.scaleFactor, display.id};
}

records::DisplayInfo DisplayGeometry::toRecord() const
{
    return {.displayId = displayId,
            .heightPoints = heightPoints,
            .scaleFactor = scaleFactor,
            .widthPoints = widthPoints};
}

PictureSize PictureSize::of(DisplayGeometry const& geometry, std::optional<std::int64_t> maxWidth)
{
    auto const width =
        static_cast<double>(std::min(geometry.widthPoints, maxWidth.value_or(geometry.widthPoints)));
    double const height =
        static_cast<double>(geometry.heightPoints) * width / static_cast<double>(geometry.widthPoints);
    return {bounded(width), bounded(height)};
}

PictureSize PictureSize::of(DisplayPart const& part, std::optional<std::int64_t> maxWidth)
{
    auto const width = static_cast<double>(std::min<std::int64_t>(part.width, maxWidth.value_or(part.width)));
    // A flat part keeps a row of pixels.
    return {bounded(width), std::max(1, bounded(part.height * width / part.width))};
}

ScreenCapture::ScreenCapture(Contexts contexts, ScreenSource& source, HiddenAppsStore& hiddenApps)
    : contexts(std::move(contexts)), source(source), hiddenApps(hiddenApps)
{
}

Display ScreenCapture::mainDisplay()
{
    std::vector<Display> const screens = source.screens();
    if (screens.empty())
        throw AgentError::machineUnavailable;
    return screens.front();
}

DisplayGeometry ScreenCapture::displayGeometry()
{
    return DisplayGeometry::of(mainDisplay());
}

Task<CapturedImage> ScreenCapture::capture(ScreenshotOptions options)
{
    Display const display = mainDisplay();
    DisplayGeometry const geometry = DisplayGeometry::of(display);
    std::optional<ScreenRegion> region;
    if (options.region)
        region = ScreenRegion::of(display, *options.region);
    std::vector<Display> const displays = co_await source.capturableDisplays();
    PictureSize const size = region ? PictureSize::of(region->pixels, options.maxWidth)
                                    : PictureSize::of(geometry, options.maxWidth);
    CaptureRequest request;
    request.display = chosenDisplay(displays, geometry.displayId);
    if (region)
        request.part = region->pixels;
    request.width = size.width;
    request.height = size.height;
    request.excluded = co_await excludedApplications();
    Picture const picture = co_await take(std::move(request));

    CapturedImage image;
    image.data = co_await on(contexts.workers, [&] { return encode(picture, options); });
    image.mime = options.format == ScreenshotOptions::ImageFormat::png ? "image/png" : "image/jpeg";
    image.imageWidth = picture.width;
    image.imageHeight = picture.height;
    image.geometry = geometry;
    if (region)
        image.region = region->points;
    co_return image;
}

Task<Picture> ScreenCapture::take(CaptureRequest request)
{
    try {
        co_return co_await source.capture(std::move(request));
    } catch (ScreenFailure const& failure) {
        if (failure.mayShowExcluded)
            throw AgentError::hiddenAppActive;
        throw;
    }
}

Task<std::set<std::string>> ScreenCapture::excludedApplications()
{
    std::set<std::string> excluded = co_await hiddenApps.bundleIds();
    excluded.insert(ownBundleIdentifier);
    co_return excluded;
}

} // namespace zelvo
