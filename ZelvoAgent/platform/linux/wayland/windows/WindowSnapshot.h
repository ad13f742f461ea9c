#pragma once

#include "platform/linux/applications/OpenWindows.h"
#include "platform/linux/wayland/windows/WindowIds.h"
#include "platform/linux/wayland/windows/WindowOwnership.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

/// One look at the windows and whose they are. Thread: one.
class WindowSnapshot {
public:
    /// ids  must outlive this; the windows are noted there
    WindowSnapshot(WindowsNow windows,
                   WindowIds& ids,
                   std::shared_ptr<DesktopEntryIndex const> entries,
                   std::int32_t own,
                   KnownProcesses::Read facts);
    WindowSnapshot(WindowSnapshot const&) = delete;
    WindowSnapshot& operator=(WindowSnapshot const&) = delete;

    WindowsNow const& windows() const { return now; }
    WindowOwnership const& owners() const { return ownership; }
    DesktopEntryIndex const& entryIndex() const { return *index; }
    std::uint32_t idOf(CompositorWindow const& window) const { return ids.idOf(window.id); }
    /// `nullptr` if there is no such window.
    CompositorWindow const* find(std::uint32_t id) const;
    /// The window that has the keyboard; `nullptr` if the compositor's own interface has it.
    CompositorWindow const* active() const;

    /// The windows with their places among the others, for the lists of applications.
    std::vector<OpenWindow> openWindows() const;
    /// The application in front, hidden with everything that may get its keys: a pop-up can take them without
    /// being active.
    std::optional<RunningApplication> frontmost() const;

private:
    WindowsNow now;
    WindowIds& ids;
    std::shared_ptr<DesktopEntryIndex const> index;
    WindowOwnership ownership;
};

} // namespace zelvo
