#pragma once

#include "platform/HotKey.h"
#include "platform/OverlayWindows.h"
#include "platform/PermissionCause.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/wayland/Absent.h"
#include "platform/linux/wayland/DesktopGrant.h"
#include "platform/linux/wayland/FrameSource.h"
#include "platform/linux/wayland/InputSink.h"
#include "platform/linux/wayland/LendableClipboard.h"
#include "platform/linux/wayland/WindowSource.h"
#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/client/WaylandMonitors.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

/// What one compositor offers, each part by the best of its doors. Made by openDoors(), and by tests.
struct CompositorDoors {
    std::vector<std::shared_ptr<void>> kept; ///< what the others use; destroyed after them
    std::unique_ptr<DesktopGrant> grant;
    std::unique_ptr<WindowSource> windows; ///< null if the compositor tells of no windows
    std::unique_ptr<FrameSource> frames;
    std::function<InputSink*()> input = [] { return nullptr; }; ///< null while nothing is granted
    std::unique_ptr<HotKey> hotKey = std::make_unique<AbsentHotKey>();
    std::unique_ptr<LendableClipboard> clipboard; ///< null if there is none
    std::unique_ptr<OverlayWindows> overlays = std::make_unique<AbsentOverlays>();
    /// The active layout among those of the seat's keymap; `nullopt` if nobody says. Blocks.
    std::function<std::optional<std::uint32_t>()> activeLayout = [] { return std::nullopt; };

    /// Whether pictures can be taken and windows be seen, the grant aside. Without windows no event may be
    /// made: nobody could say whose a point is. Elements can then be operated all the same. Never wait.
    std::function<bool()> seesScreen = [] { return true; };
    std::function<bool()> seesWindows = [] { return true; };
    /// Whether the person shared this monitor. Never waits.
    std::function<bool(std::uint32_t monitor)> isShared = [](std::uint32_t) { return true; };
    /// Why not, if they cannot. Block.
    std::function<std::vector<PermissionCause>()> missingForScreen = [] {
        return std::vector<PermissionCause>();
    };
    std::function<std::vector<PermissionCause>()> missingForWindows = [] {
        return std::vector<PermissionCause>();
    };
    /// Calls the observer when one of these may have changed. Thread: any.
    std::function<void(std::function<void()>)> observe = [](std::function<void()>) {};
    /// What this desktop cannot give, with all grants. Blocks.
    std::function<std::vector<PermissionCause>()> lacks = [] { return std::vector<PermissionCause>(); };
    /// Called once, after everybody who follows the windows does so.
    std::function<void()> start = [] {};
    /// See SystemAccess::request(); the grant aside.
    std::function<void(PermissionCause::Kind)> request = [](PermissionCause::Kind) {};
};

/// Looks what the compositor offers, by its globals and the names on the session bus, and opens what is best.
/// Blocks for a moment. All of it outlives the doors. Thread: main.
CompositorDoors
openDoors(DesktopParts const& parts, std::shared_ptr<WaylandClient> const& client, WaylandMonitors& monitors);

} // namespace zelvo
