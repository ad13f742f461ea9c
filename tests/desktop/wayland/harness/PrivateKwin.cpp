#include "desktop/wayland/harness/PrivateKwin.h"

#include <signal.h>

namespace zelvo::test {

namespace {

constexpr char const* installed = "/usr/bin/kwin_wayland";

} // namespace

std::string PrivateKwin::program(std::string const& name)
{
    return std::string(ZELVO_WAYLAND_PROGRAMS "/") + name;
}

std::string PrivateKwin::missingPackage()
{
    return std::filesystem::exists(installed) ? "" : "kwin-wayland";
}

PrivateKwin::PrivateKwin(KwinOptions given) : PrivateSession(given.environment), options(std::move(given))
{
    // A file capability that a container may not grant keeps the original from starting.
    std::filesystem::copy_file(installed, home() / "kwin_wayland");
    settings["XDG_CURRENT_DESKTOP"] = "KDE";
    settings["KWIN_COMPOSE"] = options.isPainted ? "Q" : "O2";
    settings["LIBGL_ALWAYS_SOFTWARE"] = "1";
    startBus();
    startCompositor();
}

PrivateKwin::~PrivateKwin()
{
    if (compositor)
        children->end(compositor, SIGTERM);
}

void PrivateKwin::startCompositor()
{
    auto const socket = runtimeFolder() / "wayland-0";
    std::vector<std::string> command = {home() / "kwin_wayland",
                                        "--virtual",
                                        "--no-lockscreen",
                                        "--socket",
                                        "wayland-0",
                                        "--width",
                                        std::to_string(options.width),
                                        "--height",
                                        std::to_string(options.height),
                                        "--scale",
                                        std::to_string(options.scale),
                                        "--output-count",
                                        std::to_string(options.outputs)};
    if (options.xwayland)
        command.emplace_back("--xwayland");
    settings.erase("WAYLAND_DISPLAY");
    compositor = start(command);
    require("kwin_wayland", [&] { return std::filesystem::exists(socket); });
    require("the compositor's name", [&] {
        return run({"gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path",
                    "/org/freedesktop/DBus", "--method", "org.freedesktop.DBus.NameHasOwner", "org.kde.KWin"})
                   .find("true") != std::string::npos;
    });
    settings["WAYLAND_DISPLAY"] = "wayland-0";
    if (options.xwayland)
        require("Xwayland",
                [&] { return children->output(compositor).find("xkbcomp") != std::string::npos; });
}

void PrivateKwin::restart()
{
    children->end(compositor, SIGTERM);
    std::filesystem::remove(runtimeFolder() / "wayland-0");
    startCompositor();
}

pid_t PrivateKwin::startWindow(std::vector<std::string> arguments, Environment extra)
{
    std::vector<std::string> command = {"/usr/bin/python3", program("window.py")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return start(command, std::move(extra));
}

std::string PrivateKwin::call(std::string path, std::string method, std::vector<std::string> arguments)
{
    std::vector<std::string> command = {"gdbus",         "call", "--session", "--dest", "org.kde.KWin",
                                        "--object-path", path,   "--method",  method};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(command);
}

} // namespace zelvo::test
