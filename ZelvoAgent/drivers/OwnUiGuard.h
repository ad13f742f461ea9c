#pragma once

#include "base/Geometry.h"
#include "platform/WindowList.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Where this program's own windows are. Thread: any; asks the display server.
class OwnWindowLocating {
public:
    virtual ~OwnWindowLocating() = default;
    virtual std::vector<DesktopRect> windowFrames() = 0;
};

/// The own windows as the display server lists them.
class ZelvoWindows final : public OwnWindowLocating {
public:
    ZelvoWindows(WindowList& windows, std::int32_t ownPid);
    std::vector<DesktopRect> windowFrames() override;

    /// The frames of a process's windows up to layer 8; those above do not take input away from others.
    static std::vector<DesktopRect> interactiveFrames(std::vector<WindowEntry> const& windows,
                                                      std::int32_t ownPid);

private:
    WindowList& windows;
    std::int32_t ownPid;
};

/// Keeps agents off this program's own windows, with AgentError::zelvoUiProtected. With no window list both
/// checks pass.
class OwnUiGuard {
public:
    explicit OwnUiGuard(OwnWindowLocating& locator);

    /// Asks the display server: call it on the workers.
    void assertClickAllowed(DesktopPoint point) const;
    void assertAppReadable(std::optional<std::string> const& bundleId) const;

private:
    OwnWindowLocating& locator;
};

} // namespace zelvo
