#include "desktop/harness/PrivateDesktop.h"

#include "desktop/harness/Painter.h"
#include "desktop/harness/XQuestions.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace zelvo::test {

struct PrivateDesktop::Connection {
    XConnection x;
};

namespace {

/// A pipe that a program writes to when it is ready.
struct ReadyPipe {
    ReadyPipe()
    {
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe");
    }
    ~ReadyPipe()
    {
        ::close(ends[0]);
        ::close(ends[1]);
    }

    /// One line, without its end. Throws if none arrives.
    std::string line(std::string const& program)
    {
        std::string text;
        pollfd waiting{.fd = ends[0], .events = POLLIN, .revents = 0};
        while (text.find('\n') == std::string::npos) {
            char part[256];
            if (::poll(&waiting, 1, 10'000) != 1)
                throw std::runtime_error(program + " did not get ready");
            auto const got = ::read(ends[0], part, sizeof part);
            if (got <= 0)
                throw std::runtime_error(program + " did not get ready");
            text.append(part, static_cast<std::size_t>(got));
        }
        return text.substr(0, text.find('\n'));
    }

    int writingEnd() const { return ends[1]; }

private:
    int ends[2]{};
};

bool fits(xcb_connection_t* x, xcb_window_t window, WindowWanted const& wanted)
{
    if (!wanted.title.empty() &&
        propertyOf(x, window, "_NET_WM_NAME").find(wanted.title) == std::string::npos &&
        propertyOf(x, window, "WM_NAME").find(wanted.title) == std::string::npos)
        return false;
    if (wanted.className.empty())
        return true;
    std::string const names = '\0' + propertyOf(x, window, "WM_CLASS") + '\0';
    return names.find('\0' + wanted.className + '\0') != std::string::npos;
}

std::optional<xcb_window_t> search(xcb_connection_t* x, xcb_window_t window, WindowWanted const& wanted)
{
    for (xcb_window_t const child : childrenOf(x, window)) {
        if (!isViewable(x, child))
            continue;
        if (fits(x, child, wanted))
            return child;
        if (auto const found = search(x, child, wanted))
            return found;
    }
    return std::nullopt;
}

/// Asks the window manager to estimate a window's frame.
void askForFrameExtents(xcb_connection_t* x, xcb_window_t window)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atomOf(x, "_NET_REQUEST_FRAME_EXTENTS");
    xcb_send_event(x, 0, screenOf(x)->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<char const*>(&message));
    syncWith(x);
}

} // namespace

PrivateDesktop::PrivateDesktop(DesktopOptions options)
{
    makeFolders();
    for (auto const& [name, value] : options.environment)
        settings[name] = value;
    children =
        std::make_unique<ChildProcesses>("XDG_RUNTIME_DIR=" + runtimeFolder().string(), root / "outputs");
    startServer(options);
    if (options.sessionBus)
        startBus();
    if (options.windowManager)
        startWindowManager();
    if (options.accessibility)
        enableAccessibility();
}

PrivateDesktop::~PrivateDesktop()
{
    connection.reset();
    // The server is ended first and politely: if killed, it leaves files in /tmp.
    if (server)
        children->end(server, SIGTERM);
    children.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
}

void PrivateDesktop::makeFolders()
{
    // Short, because socket paths have at most 107 bytes.
    std::string pattern = "/tmp/zelvo-desktop-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("cannot make a folder in /tmp");
    root = pattern;
    homeFolder = root / "home";
    for (auto const& folder :
         {configHome(), dataHome(), homeFolder / ".cache", runtimeFolder(), root / "outputs"})
        std::filesystem::create_directories(folder);
    std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);

    // Only these variables are inherited, so that a test behaves the same everywhere.
    for (char const* name : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
        if (char const* value = std::getenv(name))
            settings[name] = value;
    settings["HOME"] = homeFolder;
    settings["LANG"] = "C.UTF-8";
    settings["XDG_RUNTIME_DIR"] = runtimeFolder();
    settings["XDG_CONFIG_HOME"] = configHome();
    settings["XDG_DATA_HOME"] = dataHome();
    settings["XDG_CACHE_HOME"] = homeFolder / ".cache";
}

void PrivateDesktop::startServer(DesktopOptions const& options)
{
    ReadyPipe ready;
    std::string const size = std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
    std::vector<std::string> command = {
        "Xvfb", "-displayfd", std::to_string(ready.writingEnd()), "-screen",  "0",
        size,   "-dpi",       std::to_string(options.dpi),        "-noreset", "-nolisten",
        "tcp"};
    command.insert(command.end(), options.serverArguments.begin(), options.serverArguments.end());
    server = children->start(command, settings, {ready.writingEnd()});
    displayName = ":" + ready.line("Xvfb");
    settings["DISPLAY"] = displayName;
    connection = std::make_unique<Connection>(Connection{connectTo(displayName)});
}

void PrivateDesktop::startBus()
{
    ReadyPipe ready;
    std::string const address = "unix:path=" + (runtimeFolder() / "bus").string();
    start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address,
           "--print-address=" + std::to_string(ready.writingEnd())},
          {}, {ready.writingEnd()});
    settings["DBUS_SESSION_BUS_ADDRESS"] = ready.line("dbus-daemon");
}

void PrivateDesktop::startWindowManager()
{
    start({"openbox"});
    auto* x = connection->x.get();
    // It announces itself before it manages windows, and ignores those that appear in between: it is ready
    // when it answers a request.
    Painter painter(displayName);
    std::uint32_t const probe = painter.open({.mapped = false});
    auto const answers = [&] {
        askForFrameExtents(painter.x(), probe);
        return waitFor([&] { return hasProperty(x, probe, "_NET_FRAME_EXTENTS"); }, 20ms);
    };
    require("openbox", answers);
    painter.close(probe);
}

void PrivateDesktop::enableAccessibility()
{
    run({"gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus", "--method",
         "org.freedesktop.DBus.Properties.Set", "org.a11y.Status", "IsEnabled", "<true>"});
}

void PrivateDesktop::adoptEnvironment() const
{
    for (char const* name :
         {"WAYLAND_DISPLAY", "XAUTHORITY", "AT_SPI_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"})
        ::unsetenv(name);
    for (auto const& [name, value] : settings)
        ::setenv(name.c_str(), value.c_str(), 1);
}

pid_t PrivateDesktop::start(std::vector<std::string> command, Environment extra, std::vector<int> inherited)
{
    extra.insert(settings.begin(), settings.end());
    return children->start(command, extra, inherited);
}

std::string PrivateDesktop::run(std::vector<std::string> command, int seconds)
{
    pid_t const pid = start(command);
    int const code = children->waitForEnd(pid, seconds);
    std::string output = children->output(pid);
    if (code != 0)
        throw std::runtime_error(command.front() + " ended with " + std::to_string(code) + ": " + output);
    return output;
}

std::optional<std::uint32_t> PrivateDesktop::findWindow(WindowWanted wanted) const
{
    auto* x = connection->x.get();
    return search(x, screenOf(x)->root, wanted);
}

std::uint32_t PrivateDesktop::waitForWindow(WindowWanted wanted, std::chrono::milliseconds longest) const
{
    std::optional<std::uint32_t> found;
    auto const isThere = [&] { return (found = findWindow(wanted)).has_value(); };
    require("the window " + wanted.title + wanted.className, isThere, longest);
    return *found;
}

std::uint32_t PrivateDesktop::activeWindow() const
{
    auto* x = connection->x.get();
    return numberOf(x, screenOf(x)->root, "_NET_ACTIVE_WINDOW");
}

bool PrivateDesktop::startCompositor()
{
    auto* x = connection->x.get();
    xcb_atom_t const selection = atomOf(x, "_NET_WM_CM_S0");
    try {
        // picom 12 on Xvfb leaves most of the screen black if it draws only what has changed.
        compositor = start({"picom", "--backend", "xrender", "--config", "/dev/null", "--fading", "--shadow",
                            "--no-use-damage"});
    } catch (std::runtime_error const&) {
        return false;
    }
    require("picom", [&] {
        auto const cookie = xcb_get_selection_owner(x, selection);
        XReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(x, cookie, nullptr));
        return reply && reply->owner != XCB_NONE;
    });
    return true;
}

void PrivateDesktop::endCompositor()
{
    children->end(compositor, SIGTERM);
}

} // namespace zelvo::test
