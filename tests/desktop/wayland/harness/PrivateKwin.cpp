#include "desktop/wayland/harness/PrivateKwin.h"

#include <signal.h>

#include <fstream>
#include <stdexcept>

namespace zelvo::test {

namespace {

constexpr char const* installed = "/usr/bin/kwin_wayland";

std::vector<std::string> commandLine(std::filesystem::path const& process)
{
    std::ifstream in(process / "cmdline");
    std::vector<std::string> words;
    for (std::string word; std::getline(in, word, '\0');)
        words.push_back(word);
    return words;
}

/// The words of the Xwayland that uses a runtime folder; empty if there is none.
std::vector<std::string> xwaylandOf(std::filesystem::path const& runtime)
{
    std::string const mark = "XDG_RUNTIME_DIR=" + runtime.string();
    std::error_code ignored;
    for (auto const& entry : std::filesystem::directory_iterator("/proc", ignored)) {
        auto const words = commandLine(entry.path());
        if (words.empty() || !words[0].ends_with("Xwayland"))
            continue;
        std::ifstream in(entry.path() / "environ");
        for (std::string line; std::getline(in, line, '\0');)
            if (line == mark)
                return words;
    }
    return {};
}

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
    if (!options.layouts.empty()) {
        std::filesystem::create_directories(configHome());
        std::ofstream(configHome() / "kxkbrc")
            << "[Layout]\nUse=true\nLayoutList=" << options.layouts << '\n';
    }
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
    require("the compositor's name", [&] { return hasOwner(busName); });
    settings["WAYLAND_DISPLAY"] = "wayland-0";
    if (options.xwayland)
        require("Xwayland", [&] { return !xwaylandOf(runtimeFolder()).empty(); });
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

Environment PrivateKwin::onXwayland()
{
    auto const words = xwaylandOf(runtimeFolder());
    Environment found{{"GDK_BACKEND", "x11"}};
    for (std::size_t at = 1; at < words.size(); ++at) {
        if (words[at].starts_with(':'))
            found["DISPLAY"] = words[at];
        if (words[at - 1] == "-auth")
            found["XAUTHORITY"] = words[at];
    }
    if (!found.contains("DISPLAY"))
        throw std::runtime_error("no Xwayland");
    return found;
}

} // namespace zelvo::test
