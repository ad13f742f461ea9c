#pragma once

#include "base/Contexts.h"
#include "base/Geometry.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/ScreenSource.h"
#include "wire/records/Heartbeat.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The display that coordinates and pictures refer to: the main one.
struct DisplayGeometry {
    std::int64_t widthPoints = 0; ///< truncated toward zero
    std::int64_t heightPoints = 0;
    double scaleFactor = 1;
    std::uint32_t displayId = 0;
    bool operator==(DisplayGeometry const&) const = default;

    static DisplayGeometry of(Display const& display);
    records::DisplayInfo toRecord() const;
};

struct ScreenshotOptions {
    enum class ImageFormat { jpeg, png };
    ImageFormat format = ImageFormat::jpeg;
    std::int64_t quality = 80;            ///< for JPEG
    std::optional<std::int64_t> maxWidth; ///< limit of the picture's width in pixels
    std::optional<DesktopRect> region =
        {}; ///< what to show, at full resolution; nullopt for the whole display
};

struct CapturedImage {
    std::vector<std::uint8_t> data;
    std::string_view mime;
    std::int64_t imageWidth = 0; ///< pixels
    std::int64_t imageHeight = 0;
    DisplayGeometry geometry;
    std::optional<DesktopRect> region = {}; ///< what it shows, if a region was asked for

    /// Picture pixels per display point. Agents divide picture coordinates by it.
    double scale() const
    {
        return static_cast<double>(imageWidth) /
               (region ? region->width : static_cast<double>(geometry.widthPoints));
    }
};

/// Takes screenshots of the main display, without hidden applications and this program's own windows: their
/// pixels are never read. Thread: any; keeps no state.
class ScreenCapture {
public:
    ScreenCapture(Contexts contexts, ScreenSource& source, HiddenAppsStore& hiddenApps);

    /// Throws AgentError::machineUnavailable if there is no screen.
    Display mainDisplay();
    DisplayGeometry displayGeometry();
    /// Throws AgentError::permissionMissing if no display may be captured, AgentError::hiddenAppActive if a
    /// hidden application may be on the screen and the system cannot leave it out, AgentError::invalidRequest
    /// if no pixel of the display is in the region, or the system's failure.
    Task<CapturedImage> capture(ScreenshotOptions options);

    /// The identifiers to leave out: this program's and the hidden ones, read again at each call.
    Task<std::set<std::string>> excludedApplications();

private:
    Task<Picture> take(CaptureRequest request);

    Contexts contexts;
    ScreenSource& source;
    HiddenAppsStore& hiddenApps;
};

/// The size of a picture: of the whole display, at most as wide as that is in points; `maxWidth` can only
/// shrink it.
struct PictureSize {
    int width = 0;
    int height = 0;
    bool operator==(PictureSize const&) const = default;

    static PictureSize of(DisplayGeometry const& geometry, std::optional<std::int64_t> maxWidth);
    /// A pixel for each pixel of the part, unless `maxWidth` shrinks it.
    static PictureSize of(DisplayPart const& part, std::optional<std::int64_t> maxWidth);
};

} // namespace zelvo
