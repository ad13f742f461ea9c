#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/Platform.h"
#include "platform/linux/dbus/BusConnection.h"

#include <memory>

namespace zelvo {

/// The desktop that the person sees, and the session that it belongs to: the part of the machine that depends
/// on the display server. See Platform for what the functions give; all of it lives as long as the desktop.
/// Made by: X11Desktop, WaylandDesktop.
class LinuxDesktop {
public:
    virtual ~LinuxDesktop() = default;

    virtual SessionEvents& session() = 0;
    virtual HotKey& hotKey() = 0;
    virtual SystemTray& tray() = 0;
    virtual Workspace& workspace() = 0;
    virtual WindowList& windows() = 0;
    virtual WindowFocus& focus() = 0;
    virtual FrontChanges& frontChanges() = 0;
    virtual Accessibility& accessibility() = 0;
    virtual InterfaceWatches& interfaces() = 0;
    virtual ScreenSource& screen() = 0;
    virtual ScreenStreams& screenStreams() = 0;
    virtual DrawingWatches& drawings() = 0;
    virtual EventPosting& events() = 0;
    virtual KeyboardLayout& keyboardLayout() = 0;
    virtual PointerPresses& presses() = 0;
    virtual Pasteboard& pasteboard() = 0;
    virtual OverlayWindows& overlays() = 0;
    virtual SystemAccess& access() = 0;
};

/// What a desktop uses of the rest of the machine; all of it outlives the desktop.
struct DesktopParts {
    Contexts contexts;
    Clock& clock;
    BusConnection& system; ///< the system bus
    BusConnection& user;   ///< the session bus
    SecretStore& secrets;
};

/// The desktop of this session: that of the Wayland compositor if one can be reached, else that of the X
/// server. Changes the X server, so only the one running instance may make it. Thread: main.
std::unique_ptr<LinuxDesktop> makeDesktop(DesktopParts const& parts);

} // namespace zelvo
