#pragma once

#include "base/Contexts.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/ScreenSource.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The display that coordinates and pictures refer to.
struct DisplayGeometry {
    std::int64_t widthPoints = 0; ///< cut toward zero
    std::int64_t heightPoints = 0;
    double scaleFactor = 1;
    std::uint32_t displayId = 0;
    bool operator==(DisplayGeometry const&) const = default;

    static DisplayGeometry of(Display const& display);
};

struct ScreenshotOptions {
    enum class ImageFormat { jpeg, png };
    ImageFormat format = ImageFormat::jpeg;
    std::int64_t quality = 80;            ///< of a JPEG
    std::optional<std::int64_t> maxWidth; ///< upper limit of the picture's width in pixels
};

struct CapturedImage {
    std::vector<std::uint8_t> data;
    std::string_view mime;
    std::int64_t imageWidth = 0; ///< pixels
    std::int64_t imageHeight = 0;
    DisplayGeometry geometry;

    /// Picture pixels per display point: agents divide picture coordinates by it.
    double scale() const
    {
        return static_cast<double>(imageWidth) / static_cast<double>(geometry.widthPoints);
    }
};

/// Takes still pictures of the main display, without the applications that the person has hidden and without
/// this program's own windows: their pixels never exist in the picture. Thread: any; keeps no state.
class ScreenCapture {
public:
    ScreenCapture(Contexts contexts, ScreenSource& source, HiddenAppsStore& hiddenApps);

    /// Throws AgentError::machineUnavailable when there is no screen.
    DisplayGeometry displayGeometry();
    /// Throws AgentError::permissionMissing when there is nothing that may be captured; a failure of the
    /// system passes on.
    Task<CapturedImage> capture(ScreenshotOptions options);

    /// The identifiers to leave out: this program's and the hidden ones, read anew.
    Task<std::set<std::string>> excludedApplications();

private:
    Contexts contexts;
    ScreenSource& source;
    HiddenAppsStore& hiddenApps;
};

/// Size of the picture: never wider than the display's width in points, and `maxWidth` only shrinks it.
struct PictureSize {
    int width = 0;
    int height = 0;
    bool operator==(PictureSize const&) const = default;

    static PictureSize of(DisplayGeometry const& geometry, std::optional<std::int64_t> maxWidth);
};

} // namespace zelvo
