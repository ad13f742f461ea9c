#include "desktop/wayland/harness/PrivateGnome.h"

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace zelvo::test {

namespace {

constexpr char const* shellName = "org.gnome.Shell";
constexpr char const* shellPath = "/org/gnome/Shell";
constexpr char const* monitorsName = "org.gnome.Mutter.DisplayConfig";
constexpr char const* monitorsPath = "/org/gnome/Mutter/DisplayConfig";

std::string quotedList(std::vector<std::string> const& texts)
{
    std::string list;
    for (std::string const& text : texts)
        list += (list.empty() ? "'" : ", '") + text + "'";
    return "[" + list + "]";
}

std::string inputSources(std::vector<std::string> const& layouts)
{
    std::string list;
    for (std::string const& layout : layouts)
        list += (list.empty() ? "('xkb', '" : ", ('xkb', '") + layout + "')";
    return list.empty() ? "@a(ss) []" : "[" + list + "]";
}

} // namespace

std::optional<std::string> PrivateGnome::missing()
{
    return missingProgram({{"gnome-shell", "gnome-shell"},
                           {"gdbus", "libglib2.0-bin"},
                           {"pipewire", "pipewire"},
                           {"wireplumber", "wireplumber"}});
}

PrivateGnome::PrivateGnome(GnomeOptions options) : WaylandSession(options.environment)
{
    settings["GSETTINGS_BACKEND"] = "keyfile";
    settings["XDG_CURRENT_DESKTOP"] = "GNOME";
    settings["XDG_SESSION_TYPE"] = "wayland";
    startEmptySystemBus();
    startBus();
    if (options.accessibility)
        enableAccessibility();
    else
        settings["NO_AT_BRIDGE"] = "1";
    if (options.pipewire)
        startPipewire();
    writeSettings(options);
    if (options.prepare)
        options.prepare(*this);
    startShell(options);
    if (std::ranges::any_of(options.monitors, [](GnomeMonitor const& one) { return one.scale != 1; }))
        arrange(options.monitors);
}

PrivateGnome::~PrivateGnome()
{
    if (shellProcess)
        children->end(shellProcess, SIGTERM);
}

void PrivateGnome::writeSettings(GnomeOptions const& options)
{
    auto const folder = configHome() / "glib-2.0" / "settings";
    std::filesystem::create_directories(folder);
    std::ofstream file(folder / "keyfile");
    file << "[org/gnome/shell]\nenabled-extensions=" << quotedList(options.extensions)
         << "\nwelcome-dialog-last-shown-version='999'\n"
         << "[org/gnome/mutter]\nexperimental-features=['scale-monitor-framebuffer']\n"
         << "[org/gnome/desktop/interface]\nenable-animations=" << (options.animations ? "true" : "false")
         << "\n[org/gnome/desktop/input-sources]\nsources=" << inputSources(options.layouts)
         << "\n[org/gnome/desktop/background]\npicture-options='none'\ncolor-shading-type='solid'"
         << "\n[org/gnome/desktop/screensaver]\nlock-enabled=false\n"
         << "[org/gnome/desktop/session]\nidle-delay=uint32 0\n";
}

void PrivateGnome::startShell(GnomeOptions const& options)
{
    std::vector<std::string> command = {"gnome-shell", "--headless", "--wayland", "--wayland-display",
                                        "wayland-0"};
    if (!options.xwayland)
        command.emplace_back("--no-x11");
    for (GnomeMonitor const& monitor : options.monitors) {
        command.emplace_back("--virtual-monitor");
        command.push_back(std::to_string(monitor.width) + "x" + std::to_string(monitor.height));
    }
    shellProcess = start(command);
    settings["WAYLAND_DISPLAY"] = "wayland-0";
    auto const isReady = [&] {
        if (!children->isRunning(shellProcess))
            throw std::runtime_error("gnome-shell ended: " + children->output(shellProcess));
        return hasOwner(shellName) &&
               children->output(shellProcess).find("GNOME Shell started") != std::string::npos;
    };
    require("gnome-shell", isReady, 30s);
    publishEnvironment();
    setOverview(false);
}

int PrivateGnome::version()
{
    std::string const answer =
        call(shellName, shellPath, "org.freedesktop.DBus.Properties.Get", {shellName, "ShellVersion"});
    std::smatch found;
    if (!std::regex_search(answer, found, std::regex("[0-9]+")))
        throw std::runtime_error("no version: " + answer);
    return std::stoi(found.str());
}

bool PrivateGnome::isOverviewOpen()
{
    return call(shellName, shellPath, "org.freedesktop.DBus.Properties.Get", {shellName, "OverviewActive"})
               .find("true") != std::string::npos;
}

void PrivateGnome::setOverview(bool isOpen)
{
    // Repeated, because the shell ignores it while the overview is still on its way.
    auto const isDone = [&] {
        call(shellName, shellPath, "org.freedesktop.DBus.Properties.Set",
             {shellName, "OverviewActive", isOpen ? "<true>" : "<false>"});
        return isOverviewOpen() == isOpen;
    };
    require("the overview", isDone, 20s);
}

void PrivateGnome::arrange(std::vector<GnomeMonitor> const& monitors, std::size_t main)
{
    std::string const state =
        call(monitorsName, monitorsPath, std::string(monitorsName) + ".GetCurrentState");
    std::smatch serial;
    if (!std::regex_search(state, serial, std::regex("uint32 ([0-9]+)")))
        throw std::runtime_error("no monitors: " + state);
    std::regex const mode("'(Meta-[0-9]+)'[^\\[]*\\[\\('([^']+)'");
    std::string logical;
    int left = 0;
    auto found = std::sregex_iterator(state.begin(), state.end(), mode);
    for (std::size_t at = 0; at < monitors.size() && found != std::sregex_iterator(); ++at, ++found) {
        if (monitors[at].isOff)
            continue;
        logical += (logical.empty() ? "(" : ", (") + std::to_string(left) + ", 0, " +
                   std::to_string(monitors[at].scale) + ", uint32 " + std::to_string(monitors[at].quarters) +
                   ", " + (at == main ? "true" : "false") + ", [('" + (*found)[1].str() + "', '" +
                   (*found)[2].str() + "', @a{sv} {})])";
        int const width = monitors[at].quarters % 2 ? monitors[at].height : monitors[at].width;
        left += static_cast<int>(width / monitors[at].scale);
    }
    call(monitorsName, monitorsPath, std::string(monitorsName) + ".ApplyMonitorsConfig",
         {serial[1].str(), "1", "[" + logical + "]", "{}"});
}

} // namespace zelvo::test
