#pragma once

#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/applications/ApplicationOpener.h"
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

/// The desktop on an X server. Members are in the order in which they need each other. Making it changes the
/// server: windows are redirected, and keys that a killed process had bound are given back; so only the one
/// running instance may.
class X11Desktop final : public LinuxDesktop {
public:
    explicit X11Desktop(DesktopParts const& parts);
    X11Desktop(X11Desktop const&) = delete;
    X11Desktop& operator=(X11Desktop const&) = delete;

    SessionEvents& session() override { return sessionEvents; }
    HotKey& hotKey() override { return pauseKey; }
    SystemTray& tray() override { return systemTray; }
    Workspace& workspace() override { return applications; }
    WindowList& windows() override { return windowList; }
    WindowFocus& focus() override { return windowFocus; }
    FrontChanges& frontChanges() override { return fronts; }
    Accessibility& accessibility() override { return elements; }
    InterfaceWatches& interfaces() override { return elementChanges; }
    ScreenSource& screen() override { return pictures; }
    ScreenStreams& screenStreams() override { return streams; }
    DrawingWatches& drawings() override { return drawingWatches; }
    EventPosting& events() override { return posting; }
    KeyboardLayout& keyboardLayout() override { return posting; }
    PointerPresses& presses() override { return pointerPresses; }
    Pasteboard& pasteboard() override { return clipboard; }
    OverlayWindows& overlays() override { return overlayWindows; }
    SystemAccess& access() override { return systemAccess; }

    /// Null when the X server cannot be reached.
    std::shared_ptr<X11Connection> const& connection() const { return display; }

private:
    DisplayFacts displayFacts() const;
    AtspiScreen elementScreen();
    std::vector<std::string> unreadableApplications();

    std::shared_ptr<X11Connection> display; ///< null when the X server cannot be reached
    std::optional<X11Events> displayEvents; ///< reads what the server sends unasked
    X11DisplayLayout layout;
    DesktopEntries entries;
    RecentSurvey survey;
    X11WindowList windowList;
    X11WindowFocus windowFocus;
    X11FrontChanges fronts;
    X11ApplicationWindows applicationWindows;
    ApplicationOpener opener;
    X11Workspace applications;
    X11ScreenSource pictures;
    X11ScreenStreams streams;
    X11DrawingWatches drawingWatches;
    X11EventPosting posting;
    X11HotKey pauseKey;
    X11PointerPresses pointerPresses;
    LinuxSystemTray systemTray;
    X11Pasteboard clipboard;
    X11OverlayWindows overlayWindows;
    LinuxSessionEvents sessionEvents;
    LinuxSystemAccess systemAccess;
    AtspiAccessibility elements;
    AtspiInterfaceWatches elementChanges;
};

} // namespace zelvo
