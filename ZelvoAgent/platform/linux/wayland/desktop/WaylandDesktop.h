#pragma once

#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/applications/ApplicationOpener.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/atspi/AtspiAccessibility.h"
#include "platform/linux/atspi/AtspiInterfaceWatches.h"
#include "platform/linux/dbus/LinuxSessionEvents.h"
#include "platform/linux/dbus/LinuxSystemAccess.h"
#include "platform/linux/tray/LinuxSystemTray.h"
#include "platform/linux/wayland/ClientSockets.h"
#include "platform/linux/wayland/capture/DrawingSignal.h"
#include "platform/linux/wayland/capture/HiddenPresence.h"
#include "platform/linux/wayland/capture/WaylandDrawingWatches.h"
#include "platform/linux/wayland/capture/WaylandScreenSource.h"
#include "platform/linux/wayland/capture/WaylandScreenStreams.h"
#include "platform/linux/wayland/client/SeatKeymaps.h"
#include "platform/linux/wayland/desktop/CompositorDoors.h"
#include "platform/linux/wayland/elements/AtspiTextInsertion.h"
#include "platform/linux/wayland/input/LentPasteboard.h"
#include "platform/linux/wayland/input/WaylandEventPosting.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"
#include "platform/linux/wayland/windows/WaylandApplicationWindows.h"
#include "platform/linux/wayland/windows/WaylandFrontChanges.h"
#include "platform/linux/wayland/windows/WaylandWindowFocus.h"
#include "platform/linux/wayland/windows/WaylandWindowList.h"
#include "platform/linux/wayland/windows/WaylandWorkspace.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The desktop on a Wayland compositor, whichever doors that has. Members are in the order in which they need
/// each other.
class WaylandDesktop final : public LinuxDesktop {
public:
    /// Null if no compositor can be reached.
    static std::unique_ptr<WaylandDesktop> open(DesktopParts const& parts);
    /// offered  what the compositor offers
    WaylandDesktop(DesktopParts const& parts,
                   std::shared_ptr<WaylandClient> opened,
                   std::unique_ptr<WaylandMonitors> known,
                   CompositorDoors offered);
    WaylandDesktop(WaylandDesktop const&) = delete;
    WaylandDesktop& operator=(WaylandDesktop const&) = delete;

    SessionEvents& session() override { return sessionEvents; }
    HotKey& hotKey() override { return *doors.hotKey; }
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
    Pasteboard& pasteboard() override;
    OverlayWindows& overlays() override { return *doors.overlays; }
    SystemAccess& access() override { return systemAccess; }

private:
    void followLock();
    HiddenPresence::Parts presenceParts();
    WaylandScreenSource::Parts screenParts();
    WaylandEventPosting::Parts postingParts();
    DesktopFacts facts();
    AtspiScreen elementScreen();
    Permissions permissions() const;
    PermissionCauses causes() const;
    std::optional<PermissionCause> missingGrant() const;
    void request(PermissionCause::Kind kind) const;
    std::optional<SeatKeymap> keymapNow() const;
    std::optional<LogicalPoint> pointerNow() const;
    /// Where nobody sees the windows: the process whose accessible window is active. Blocks.
    std::optional<std::int32_t> activeProcess();
    std::optional<std::int32_t> processInFront();
    std::vector<std::string> unreadableApplications();

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<WaylandClient> client;
    std::optional<WaylandEvents> ending; ///< notices the compositor's end
    std::unique_ptr<WaylandMonitors> monitors;
    CompositorDoors doors;
    DesktopEntries entries;
    ClientSockets clients;
    SeatKeymaps keymaps;
    CompositorWindows desktopWindows;
    WaylandWindowList windowList;
    WaylandWindowFocus windowFocus;
    WaylandFrontChanges fronts;
    WaylandApplicationWindows applicationWindows;
    ApplicationOpener opener;
    WaylandWorkspace applications;
    HiddenPresence presence;
    WaylandScreenSource pictures;
    DrawingSignal drawing;
    WaylandScreenStreams streams;
    WaylandDrawingWatches drawingWatches;
    LinuxSystemTray systemTray;
    LinuxSessionEvents sessionEvents;
    LinuxSystemAccess systemAccess;
    AtspiAccessibility elements;
    AtspiInterfaceWatches elementChanges;
    AtspiTextInsertion insertion;
    AbsentPasteboard noClipboard;
    LentPasteboard clipboard;
    WaylandEventPosting posting;
    AbsentPresses pointerPresses;
};

} // namespace zelvo
