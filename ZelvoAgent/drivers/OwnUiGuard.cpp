#include "drivers/OwnUiGuard.h"

#include "platform/RunningApplication.h"
#include "wire/AgentError.h"

namespace zelvo {

namespace {

constexpr int maxProtectedLayer = 8;

} // namespace

ZelvoWindows::ZelvoWindows(WindowList& windows, std::int32_t ownPid) : windows(windows), ownPid(ownPid) {}

std::vector<DesktopRect> ZelvoWindows::windowFrames()
{
    return interactiveFrames(windows.windows().value_or(std::vector<WindowEntry>{}), ownPid);
}

std::vector<DesktopRect> ZelvoWindows::interactiveFrames(std::vector<WindowEntry> const& windows,
                                                         std::int32_t ownPid)
{
    std::vector<DesktopRect> frames;
    for (WindowEntry const& window : windows)
        if (window.ownerPid == ownPid && window.layer <= maxProtectedLayer && window.bounds)
            frames.push_back(*window.bounds);
    return frames;
}

OwnUiGuard::OwnUiGuard(OwnWindowLocating& locator) : locator(locator) {}

void OwnUiGuard::assertClickAllowed(DesktopPoint point) const
{
    for (DesktopRect const& frame : locator.windowFrames())
        if (frame.contains(point))
            throw AgentError::zelvoUiProtected;
}

void OwnUiGuard::assertAppReadable(std::optional<std::string> const& bundleId) const
{
    if (bundleId == ownBundleIdentifier)
        throw AgentError::zelvoUiProtected;
}

} // namespace zelvo
