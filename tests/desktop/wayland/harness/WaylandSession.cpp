#include "desktop/wayland/harness/WaylandSession.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace zelvo::test {

namespace {

bool isInstalled(std::string const& program)
{
    if (program.starts_with('/'))
        return ::access(program.c_str(), X_OK) == 0;
    char const* const path = std::getenv("PATH");
    std::stringstream folders(path ? path : "/usr/bin:/bin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (::access((folder + "/" + program).c_str(), X_OK) == 0)
            return true;
    return false;
}

constexpr char const* emptySystemBus = R"(<busconfig>
  <type>custom</type>
  <listen>unix:path=%SOCKET%</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

std::optional<std::string> missingProgram(std::vector<std::pair<std::string, std::string>> const& programs)
{
    for (auto const& [program, package] : programs)
        if (!isInstalled(program))
            return program + " is not installed (package " + package + ")";
    return std::nullopt;
}

void WaylandSession::startEmptySystemBus()
{
    std::string const socket = runtimeFolder() / "system";
    std::string text = emptySystemBus;
    text.replace(text.find("%SOCKET%"), 8, socket);
    auto const file = runtimeFolder() / "system.conf";
    std::ofstream(file) << text;
    ReadyPipe ready;
    start({"dbus-daemon", "--config-file=" + file.string(), "--nofork", "--nopidfile",
           "--print-address=" + std::to_string(ready.writingEnd())},
          {}, {ready.writingEnd()});
    ready.line("dbus-daemon");
    settings["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + socket;
}

void WaylandSession::startPipewire()
{
    pipewireProcess = start({"pipewire"});
    require("pipewire", [&] { return std::filesystem::exists(runtimeFolder() / "pipewire-0"); });
    start({"wireplumber"});
}

void WaylandSession::publishEnvironment()
{
    std::vector<std::string> command = {"dbus-update-activation-environment"};
    for (auto const& [name, value] : settings)
        command.push_back(name + "=" + value);
    run(command);
}

void WaylandSession::startPortal(std::string const& backend, Environment const& extra)
{
    bool const isPath = backend.starts_with('/');
    start({isPath ? backend : "/usr/libexec/xdg-desktop-portal-" + backend}, extra);
    if (!isPath)
        require("the portal's backend " + backend,
                [&] { return hasOwner("org.freedesktop.impl.portal.desktop." + backend); });
    start({"/usr/libexec/xdg-desktop-portal"}, extra);
    require("the portal", [&] { return hasOwner("org.freedesktop.portal.Desktop"); });
}

} // namespace zelvo::test
