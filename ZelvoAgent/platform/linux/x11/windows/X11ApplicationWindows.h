#pragma once

#include "platform/linux/applications/ApplicationWindows.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/X11WindowFocus.h"

#include <memory>

namespace zelvo {

/// The windows in the window manager's care.
class X11ApplicationWindows final : public ApplicationWindows {
public:
    /// connection  not used if null; X11Workspace asks for nothing then. The references must outlive this.
    X11ApplicationWindows(std::shared_ptr<X11Connection> connection,
                          DesktopEntries& entries,
                          X11WindowFocus& focus);

    OpenableApplication look(std::string const& location) override;
    ApplicationWindow windowOf(std::string const& location, StartMarks const* started) override;
    void bringBack(std::uint32_t window) override;

private:
    std::shared_ptr<X11Connection> connection;
    DesktopEntries& entries;
    X11WindowFocus& focus;
};

} // namespace zelvo
