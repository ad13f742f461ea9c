#pragma once

#include "base/Contexts.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/atspi/AtspiAccessibility.h"
#include "platform/linux/atspi/AtspiInterfaceWatches.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/dbus/LinuxSessionEvents.h"
#include "platform/linux/dbus/LinuxSystemAccess.h"
#include "platform/linux/tray/LinuxSystemTray.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11DisplayLayout.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/capture/X11DrawingWatches.h"
#include "platform/linux/x11/capture/X11ScreenSource.h"
#include "platform/linux/x11/capture/X11ScreenStreams.h"
#include "platform/linux/x11/clipboard/X11Pasteboard.h"
#include "platform/linux/x11/input/X11EventPosting.h"
#include "platform/linux/x11/input/X11HotKey.h"
#include "platform/linux/x11/input/X11PointerPresses.h"
#include "platform/linux/x11/overlays/X11OverlayWindows.h"
#include "platform/linux/x11/windows/RecentSurvey.h"
#include "platform/linux/x11/windows/X11ApplicationWindows.h"
#include "platform/linux/x11/windows/X11FrontChanges.h"
#include "platform/linux/x11/windows/X11WindowFocus.h"
#include "platform/linux/x11/windows/X11WindowList.h"
#include "platform/linux/x11/windows/X11Workspace.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What stands on the X server, and the session that it belongs to. Members stand in the order in which they
/// need each other. Making it changes the server: windows are redirected, and keys that a killed process had
/// bound are given back; so only the one running instance may.
struct LinuxDesktop {
    LinuxDesktop(Contexts const& contexts, Clock& clock, BusConnection& system, BusConnection& user);
    LinuxDesktop(LinuxDesktop const&) = delete;
    LinuxDesktop& operator=(LinuxDesktop const&) = delete;

    std::shared_ptr<X11Connection> display; ///< null when the X server cannot be reached
    std::optional<X11Events> displayEvents; ///< reads what the server sends unasked
    X11DisplayLayout layout;
    DesktopEntries entries;
    RecentSurvey survey;
    X11WindowList windows;
    X11WindowFocus focus;
    X11FrontChanges frontChanges;
    X11ApplicationWindows applicationWindows;
    ApplicationOpener opener;
    X11Workspace workspace;
    X11ScreenSource screen;
    X11ScreenStreams streams;
    X11DrawingWatches drawings;
    X11EventPosting events;
    X11HotKey hotKey;
    X11PointerPresses presses;
    LinuxSystemTray tray;
    X11Pasteboard pasteboard;
    X11OverlayWindows overlays;
    LinuxSessionEvents session;
    LinuxSystemAccess access;
    AtspiAccessibility accessibility;
    AtspiInterfaceWatches interfaces;

private:
    DisplayFacts displayFacts() const;
    AtspiScreen elementScreen();
    std::vector<std::string> unreadableApplications();
};

} // namespace zelvo
