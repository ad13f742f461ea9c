#pragma once

#include "platform/Workspace.h"
#include "platform/linux/x11/DesktopEntries.h"
#include "platform/linux/x11/X11Connection.h"

#include <memory>

namespace zelvo {

/// The desktop's applications as the window manager and the desktop entries tell of them.
class X11Workspace final : public Workspace {
public:
    /// connection: null when the server can't be reached; then nothing is in front.
    X11Workspace(std::shared_ptr<X11Connection> connection, DesktopEntries& entries);

    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> application(std::int32_t pid) override;
    bool openUrl(std::string url) override;

private:
    std::shared_ptr<X11Connection> connection;
    DesktopEntries& entries;
};

} // namespace zelvo
