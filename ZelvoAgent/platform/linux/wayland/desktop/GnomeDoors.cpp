#include "platform/linux/wayland/desktop/GnomeDoors.h"

#include "platform/linux/system/XdgFolders.h"
#include "platform/linux/wayland/desktop/PortalDoors.h"
#include "platform/linux/wayland/shell/ShellExtensionInstall.h"
#include "platform/linux/wayland/shell/ShellFrames.h"
#include "platform/linux/wayland/shell/ShellLink.h"
#include "platform/linux/wayland/shell/ShellPresence.h"
#include "platform/linux/wayland/shell/ShellWindows.h"

#include <boost/asio/post.hpp>

#include <filesystem>
#include <utility>

namespace zelvo {

namespace {

using Kind = PermissionCause::Kind;

/// What all parts that talk to the extension share.
struct Shell {
    explicit Shell(BusConnection& user) : presence(user), install(xdg::dataHome(), link) {}

    std::optional<PermissionCause> missing()
    {
        if (presence.isPresent())
            return std::nullopt;
        switch (install.state()) {
        case ShellExtensionInstall::State::noShell:
            return PermissionCause{Kind::noWindowPlaces};
        case ShellExtensionInstall::State::unsupported:
            return PermissionCause{Kind::extensionUnsupported};
        case ShellExtensionInstall::State::absent:
            return PermissionCause{Kind::extensionNotInstalled};
        case ShellExtensionInstall::State::disabled:
            return PermissionCause{Kind::extensionDisabled};
        case ShellExtensionInstall::State::needsLogin:
        case ShellExtensionInstall::State::enabled: // It does not answer yet.
            return PermissionCause{Kind::extensionNeedsSignIn};
        }
        return std::nullopt;
    }

    /// After the person pressed the button for it. Blocks.
    void request(Kind kind)
    {
        if (kind == Kind::extensionNotInstalled)
            if (auto const version = install.shellVersion())
                install.write(*version, std::filesystem::read_symlink("/proc/self/exe"));
        if (kind == Kind::extensionNotInstalled || kind == Kind::extensionDisabled)
            install.enable();
    }

    ShellLink link;     // for short questions
    ShellLink painting; // for pictures
    ShellPresence presence;
    ShellExtensionInstall install;
};

} // namespace

CompositorDoors openGnomeDoors(DesktopParts const& parts, WaylandMonitors& monitors)
{
    CompositorDoors doors;
    auto const shell = std::make_shared<Shell>(parts.user);
    doors.kept.push_back(shell);
    doors.windows = std::make_unique<ShellWindows>(shell->link, shell->presence);
    doors.frames = std::make_unique<ShellFrames>(
        parts.contexts, shell->painting, shell->presence, [&monitors] { return monitors.current(); },
        nullptr);
    PortalDoors const portals = addPortals(doors, parts, monitors);
    doors.start = [shell] { shell->presence.start(); };
    doors.seesWindows = [shell] { return shell->presence.isPresent(); };
    doors.seesScreen = doors.seesWindows;
    doors.missingForWindows = [shell] {
        auto const missing = shell->missing();
        return missing ? std::vector<PermissionCause>{*missing} : std::vector<PermissionCause>();
    };
    doors.missingForScreen = doors.missingForWindows;
    doors.request = [shell, workers = parts.contexts.workers](Kind kind) {
        asio::post(workers, [shell, kind] { shell->request(kind); });
    };
    doors.lacks = [portals] {
        std::vector<PermissionCause> lacks = portals.lacks();
        lacks.push_back({Kind::noClipboard});
        lacks.push_back({Kind::noOverlays});
        return lacks;
    };
    return doors;
}

} // namespace zelvo
