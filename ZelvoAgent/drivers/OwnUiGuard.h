#pragma once

#include "base/Geometry.h"
#include "platform/WindowList.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Finds this program's own windows. Thread: any; asks the display server.
class OwnWindowLocating {
public:
    virtual ~OwnWindowLocating() = default;
    virtual std::vector<DesktopRect> windowFrames() = 0;
};

/// This program's own windows, from the display server's window list.
class ZelvoWindows final : public OwnWindowLocating {
public:
    ZelvoWindows(WindowList& windows, std::int32_t ownPid);
    std::vector<DesktopRect> windowFrames() override;

    /// The frames of a process's windows up to layer 8. Windows above that layer do not intercept input.
    static std::vector<DesktopRect> interactiveFrames(std::vector<WindowEntry> const& windows,
                                                      std::int32_t ownPid);

private:
    WindowList& windows;
    std::int32_t ownPid;
};

/// Refuses actions on this program's own windows, with AgentError::zelvoUiProtected. Without a window list
/// clicks pass.
class OwnUiGuard {
public:
    explicit OwnUiGuard(OwnWindowLocating& locator);

    /// Asks the display server, so call it on the workers.
    void assertClickAllowed(DesktopPoint point) const;
    void assertAppReadable(std::optional<std::string> const& bundleId) const;

private:
    OwnWindowLocating& locator;
};

} // namespace zelvo
