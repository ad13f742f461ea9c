#pragma once

#include "platform/RunningApplication.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// The desktop's applications and what it can open.
/// Thread: any; each call may take a few milliseconds of the display server.
/// Made by: platform/linux/x11/X11Workspace, tests/fakes/FakeWorkspace.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// The application whose window is in front.
    virtual std::optional<RunningApplication> frontmostApplication() = 0;
    /// The application of a process, when that owns a window.
    virtual std::optional<RunningApplication> application(std::int32_t pid) = 0;
    /// Opens a URL with the default application of its scheme. False when nothing takes it.
    virtual bool openUrl(std::string url) = 0;
};

} // namespace zelvo
