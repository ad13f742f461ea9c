#include "platform/linux/x11/X11Workspace.h"

#include "platform/linux/x11/UrlOpening.h"
#include "platform/linux/x11/WindowOwners.h"
#include "platform/linux/x11/XReply.h"

#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>

namespace zelvo {

X11Workspace::X11Workspace(std::shared_ptr<X11Connection> connection, DesktopEntries& entries)
    : connection(std::move(connection)), entries(entries)
{
}

namespace {

/// The window that the window manager calls active; 0 when it names none.
std::uint32_t activeWindow(X11Connection const& connection)
{
    auto* const x = connection.get();
    auto const cookie =
        xcb_get_property(x, 0, connection.root(), connection.atoms().netActiveWindow, XCB_ATOM_WINDOW, 0, 1);
    XReply<xcb_get_property_reply_t> const reply(xcb_get_property_reply(x, cookie, nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return 0;
    return *static_cast<std::uint32_t const*>(xcb_get_property_value(reply.get()));
}

std::uint32_t focusedWindow(X11Connection const& connection)
{
    auto* const x = connection.get();
    XReply<xcb_get_input_focus_reply_t> const reply(
        xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    // None and PointerRoot are no windows.
    return reply && reply->focus > XCB_INPUT_FOCUS_POINTER_ROOT ? reply->focus : 0;
}

std::uint32_t parentOf(X11Connection const& connection, std::uint32_t window)
{
    auto* const x = connection.get();
    XReply<xcb_query_tree_reply_t> const reply(xcb_query_tree_reply(x, xcb_query_tree(x, window), nullptr));
    return reply ? reply->parent : 0;
}

/// With no application in front the window manager keeps the focus on a window of its own.
bool isWindowManagers(WindowSurvey const& survey, ClientWindow const& client)
{
    return std::ranges::any_of(survey.windows, [&](SurveyedWindow const& window) {
        return window.windowManagers && window.id == client.id;
    });
}

/// The surveyed client whose window this is, or lies in.
ClientWindow const*
clientAround(X11Connection const& connection, WindowOwners const& owners, std::uint32_t window)
{
    for (int depth = 0; window && window != connection.root() && depth < 32; ++depth) {
        if (ClientWindow const* client = owners.find(window))
            return client;
        window = parentOf(connection, window);
    }
    return nullptr;
}

} // namespace

std::uint32_t X11Workspace::windowInFront() const
{
    std::uint32_t const active = activeWindow(*connection);
    return active ? active : focusedWindow(*connection);
}

std::optional<RunningApplication> X11Workspace::frontmostApplication()
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    std::uint32_t const front = windowInFront();
    if (!front)
        return std::nullopt;
    WindowSurvey const survey = surveyWindows(*connection);
    auto const index = entries.current();
    WindowOwners const owners(survey, *index, ::getpid());
    ClientWindow const* client = clientAround(*connection, owners, front);
    if (!client || isWindowManagers(survey, *client))
        return std::nullopt;
    return owners.application(*client);
}

std::optional<RunningApplication> X11Workspace::application(std::int32_t pid)
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    WindowSurvey const survey = surveyWindows(*connection);
    auto const index = entries.current();
    WindowOwners const owners(survey, *index, ::getpid());
    for (SurveyedWindow const& window : survey.windows)
        if (window.client.pid == pid && !window.windowManagers)
            return owners.application(window.client);
    for (ClientWindow const& client : survey.others)
        if (client.pid == pid)
            return owners.application(client);
    return std::nullopt;
}

bool X11Workspace::openUrl(std::string url)
{
    return openWithDefaultApplication(url);
}

} // namespace zelvo
