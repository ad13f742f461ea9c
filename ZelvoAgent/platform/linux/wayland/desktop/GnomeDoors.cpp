#include "platform/linux/wayland/desktop/GnomeDoors.h"

#include "base/LockedBox.h"
#include "platform/linux/system/XdgFolders.h"
#include "platform/linux/wayland/desktop/PortalDoors.h"
#include "platform/linux/wayland/pipewire/PipewireFrames.h"
#include "platform/linux/wayland/portal/StreamPlaces.h"
#include "platform/linux/wayland/shell/ShellExtensionInstall.h"
#include "platform/linux/wayland/shell/ShellFrames.h"
#include "platform/linux/wayland/shell/ShellHotKey.h"
#include "platform/linux/wayland/shell/ShellLayout.h"
#include "platform/linux/wayland/shell/ShellLink.h"
#include "platform/linux/wayland/shell/ShellPasteboard.h"
#include "platform/linux/wayland/shell/ShellPresence.h"
#include "platform/linux/wayland/shell/ShellWindows.h"
#include "platform/portable/files/UniqueFd.h"

#include <boost/asio/post.hpp>

#include <filesystem>
#include <utility>

namespace zelvo {

namespace {

using Kind = PermissionCause::Kind;

std::filesystem::path ownProgram()
{
    return std::filesystem::read_symlink("/proc/self/exe");
}

/// What all parts that talk to the extension share.
struct Shell {
    explicit Shell(DesktopParts const& parts)
        : presence(parts.contexts.agent, parts.user), install(xdg::sessionDataHome(), link)
    {
    }

    std::optional<PermissionCause> missing()
    {
        if (presence.isPresent())
            return std::nullopt;
        using State = ShellExtensionInstall::State;
        State const state = install.state();
        if (state == State::needsLogin || state == State::disabled || state == State::enabled)
            if (auto const other = install.otherProgram(ownProgram()))
                return PermissionCause{Kind::extensionOfAnother, {other->string()}};
        switch (state) {
        case State::noShell:
            return PermissionCause{Kind::noWindowPlaces};
        case State::unsupported:
            return PermissionCause{Kind::extensionUnsupported};
        case State::absent:
            return PermissionCause{Kind::extensionNotInstalled};
        case State::disabled:
            return PermissionCause{Kind::extensionDisabled};
        case State::needsLogin:
        case State::enabled: // It does not answer yet.
            return PermissionCause{Kind::extensionNeedsSignIn};
        }
        return std::nullopt;
    }

    /// After the person pressed the button for it. Blocks.
    void request(Kind kind)
    {
        if (kind == Kind::extensionNotInstalled)
            if (auto const version = install.shellVersion())
                install.write(*version, ownProgram());
        if (kind == Kind::extensionNotInstalled || kind == Kind::extensionDisabled)
            install.enable();
        if (auto const report = changed.get())
            report();
    }

    ShellLink link;     // for short questions
    ShellLink painting; // for pictures
    ShellPresence presence;
    ShellExtensionInstall install;
    LockedBox<std::function<void()>> changed;
};

/// Hands the streams of each new grant over, and takes them back at its end.
void followStreams(DesktopParts const& parts,
                   PortalDoors const& portals,
                   WaylandMonitors& monitors,
                   std::shared_ptr<PipewireFrames> const& frames)
{
    using State = DesktopGrant::State;
    auto const open = [grant = portals.grant, &monitors, frames]() -> Task<> {
        auto const session = grant->session();
        if (!session)
            co_return;
        UniqueFd descriptor = co_await session->openPipeWire();
        if (descriptor.get() < 0 || grant->session() != session)
            co_return; // It failed, or the grant has ended meanwhile.
        GrantedStreams streams{.descriptor = descriptor.release()};
        for (StreamPlace const& place : matchStreams(session->streams(), monitors.current()))
            streams.nodes.emplace(place.monitor, place.node);
        frames->setStreams(std::move(streams));
    };
    portals.grant->observe([frames, open, agent = parts.contexts.agent](State state) {
        if (state == State::granted || state == State::partly)
            spawn(agent, open);
        else
            frames->setStreams(std::nullopt);
    });
}

} // namespace

CompositorDoors openGnomeDoors(DesktopParts const& parts, WaylandMonitors& monitors)
{
    CompositorDoors doors;
    auto const shell = std::make_shared<Shell>(parts);
    doors.kept.push_back(shell);
    doors.windows = std::make_unique<ShellWindows>(shell->link, shell->presence);
    auto const streams = std::make_shared<PipewireFrames>(parts.contexts, parts.clock);
    doors.kept.push_back(streams);
    auto const layout = [&monitors] { return monitors.current(); };
    doors.frames = std::make_unique<ShellFrames>(parts.contexts, shell->painting, shell->presence, layout,
                                                 streams.get());
    PortalDoors const portals = addPortals(doors, parts, monitors);
    followStreams(parts, portals, monitors, streams);
    auto clipboard = std::make_unique<ShellPasteboard>(parts.contexts, parts.user, shell->presence);
    doors.activeLayout = [shell] { return activeShellLayout(shell->link); };
    doors.hotKey = std::make_unique<ShellHotKey>(parts.contexts.main, parts.user, shell->presence);
    doors.start = [shell, clipboard = clipboard.get()] {
        clipboard->start();
        shell->presence.start();
    };
    doors.clipboard = std::move(clipboard);
    doors.seesWindows = [shell] { return shell->presence.isPresent(); };
    doors.seesScreen = doors.seesWindows;
    doors.missingForWindows = [shell] {
        auto const missing = shell->missing();
        return missing ? std::vector<PermissionCause>{*missing} : std::vector<PermissionCause>();
    };
    doors.missingForScreen = doors.missingForWindows;
    doors.observe = [shell](std::function<void()> changed) {
        shell->changed.set(changed);
        shell->presence.whenPresent(std::move(changed));
    };
    doors.request = [shell, workers = parts.contexts.workers](Kind kind) {
        asio::post(workers, [shell, kind] { shell->request(kind); });
    };
    doors.lacks = [] { return std::vector<PermissionCause>{{Kind::noOverlays}}; };
    return doors;
}

} // namespace zelvo
