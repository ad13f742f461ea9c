#include "desktop/harness/PrivateDesktop.h"

#include "desktop/harness/Painter.h"
#include "desktop/harness/XQuestions.h"

#include <signal.h>

#include <stdexcept>

namespace zelvo::test {

struct PrivateDesktop::Connection {
    XConnection x;
};

namespace {

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

PrivateDesktop::PrivateDesktop(DesktopOptions options) : PrivateSession(options.environment)
{
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
