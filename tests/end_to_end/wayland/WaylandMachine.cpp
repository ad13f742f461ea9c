#include "end_to_end/wayland/WaylandMachine.h"

#include "desktop/wayland/harness/PrivateKwin.h"
#include "desktop/wayland/harness/PrivateSway.h"
#include "end_to_end/AgentProgram.h"
#include "platform/linux/wayland/kwin/KwinPermissionFile.h"
#include "platform/linux/wayland/shell/ShellExtensionInstall.h"

#include <csignal>
#include <fstream>

namespace zelvo::test {

namespace {

namespace fs = std::filesystem;

constexpr char const* frontEndProgram = "/usr/libexec/xdg-desktop-portal";
constexpr char const* kdeBackend = "/usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde";

/// Without a store for settings the accessibility service forgets at once that it was switched on.
Environment const settingsStore = {{"GSETTINGS_BACKEND", "memory"}};

} // namespace

std::string WaylandMachine::missing(Compositor kind)
{
    if (kind == Compositor::sway)
        return PrivateSway::missing();
    if (auto const lacks = missingProgram({{frontEndProgram, "xdg-desktop-portal"}, {"python3", "python3"}}))
        return *lacks;
    if (kind == Compositor::gnome)
        return PrivateGnome::missing().value_or("");
    if (std::string const package = PrivateKwin::missingPackage(); !package.empty())
        return "needs the package " + package;
    return missingProgram({{kdeBackend, "xdg-desktop-portal-kde"}, {"wireplumber", "wireplumber"}})
        .value_or("");
}

WaylandMachine::WaylandMachine(Compositor kind, Size size) : kind(kind), size(size)
{
    if (kind == Compositor::sway)
        startSway();
    else if (kind == Compositor::kwin)
        startKwin();
    else
        startGnome();
}

void WaylandMachine::startSway()
{
    other =
        std::make_unique<PrivateSway>(SwayOptions{.outputs = {{.width = size.width, .height = size.height}},
                                                  .sessionBus = true,
                                                  .environment = settingsStore});
    desktop = other.get();
}

void WaylandMachine::startKwin()
{
    other = std::make_unique<PrivateKwin>(KwinOptions{
        .width = size.width, .height = size.height, .isPainted = false, .environment = settingsStore});
    desktop = other.get();
    desktop
        ->enableAccessibility(); // Before the agent, whose windows are pressed: Qt looks only when it starts.
    DesktopEntries none({});
    fs::path const folder = desktop->dataHome() / "applications";
    fs::create_directories(folder);
    std::ofstream(folder / KwinPermissionFile::fileName)
        << KwinPermissionFile(none, AgentProgram::placeOn(*desktop)).text();
    watchPortals();
    Environment const extra = {{"QT_QPA_PLATFORM", "wayland"}};
    desktop->start({"pipewire"});
    require("pipewire", [&] { return fs::exists(desktop->runtimeFolder() / "pipewire-0"); });
    desktop->start({"wireplumber"});
    desktop->start({kdeBackend}, extra);
    require("org.freedesktop.impl.portal.desktop.kde",
            [&] { return desktop->hasOwner("org.freedesktop.impl.portal.desktop.kde"); });
    frontEnd = desktop->start({frontEndProgram}, extra);
    require("org.freedesktop.portal.Desktop",
            [&] { return desktop->hasOwner("org.freedesktop.portal.Desktop"); });
}

void WaylandMachine::startGnome()
{
    auto const install = [](PrivateSession& session) {
        session.adoptEnvironment();
        ShellLink link;
        std::string const version = session.run({"gnome-shell", "--version"});
        int const major = std::stoi(version.substr(version.find_first_of("0123456789")));
        if (!ShellExtensionInstall(session.dataHome(), link).write(major, AgentProgram::placeOn(session)))
            throw std::runtime_error("the extension cannot be installed");
    };
    gnome =
        std::make_unique<GnomePortal>(GnomeOptions{.monitors = {{.width = size.width, .height = size.height}},
                                                   .accessibility = true,
                                                   .extensions = {ShellExtensionInstall::uuid},
                                                   .prepare = install});
    desktop = &gnome->gnome;
    watchPortals();
}

/// From here on all calls to the portals are in the output of a program.
void WaylandMachine::watchPortals()
{
    watcher = desktop->start({"dbus-monitor", "--session", "member='CreateSession'"});
}

std::size_t WaylandMachine::portalSessions()
{
    std::string const seen = desktop->processes().output(watcher);
    std::string const call = "interface=org.freedesktop.portal.";
    std::size_t count = 0;
    for (std::size_t at = seen.find(call); at != std::string::npos; at = seen.find(call, at + 1))
        ++count;
    return count;
}

void WaylandMachine::withdraw(int milliseconds)
{
    if (gnome)
        gnome->withdraw(milliseconds);
    else if (frontEnd)
        desktop->processes().end(frontEnd, SIGTERM); // KDE's own indicator is part of a panel.
}

} // namespace zelvo::test
