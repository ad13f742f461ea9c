#pragma once

#include "base/Contexts.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/kwin/KwinImage.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A picture to take: of a monitor or of one window, alone and whole, whatever covers it.
struct KwinShot {
    std::string monitor; ///< the connector's name; empty for a window
    std::string window;
    bool hasPointer = false;
    bool hasDecoration = true; ///< of a window: its title bar, with its shadows where KWin 5 draws some
};

/// Why a picture is missing.
struct KwinShotFailure {
    std::string reason; ///< the D-Bus name of the error, or our own words
    /// Whether KWin refuses because no desktop entry allows it (KwinPermissionFile).
    bool isForbidden() const;
};

struct KwinShotResult {
    std::optional<KwinImage> image;
    KwinShotFailure failure; ///< if there is no image
};

/// KWin's own way to take pictures, org.kde.KWin.ScreenShot2. Thread: any.
class KwinScreenshots {
public:
    /// The bus must outlive it.
    KwinScreenshots(Contexts contexts, BusConnection& session)
        : contexts(std::move(contexts)), session(session)
    {
    }

    /// Takes several at once: KWin draws those that wait in one frame. In the order of the shots. Takes at
    /// most some seconds.
    Task<std::vector<KwinShotResult>> take(std::vector<KwinShot> shots);

    /// Whether KWin lets this program take pictures. Takes none.
    Task<bool> isAllowed();

private:
    Contexts contexts;
    BusConnection& session;
};

} // namespace zelvo
