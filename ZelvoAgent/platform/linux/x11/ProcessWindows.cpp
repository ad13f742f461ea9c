#include "platform/linux/x11/ProcessWindows.h"

#include "platform/linux/x11/WindowSurvey.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XBatch.h"

#include <ranges>

namespace zelvo {

namespace {

std::vector<ProcessWindow> chosen(WindowSurvey const& survey, std::int32_t pid)
{
    std::vector<ProcessWindow> found;
    for (SurveyedWindow const& window : std::views::reverse(survey.windows)) {
        if (window.inputOnly || window.windowManagers)
            continue;
        for (EmbeddedWindow const& inside : window.embedded)
            if (inside.client.pid == pid)
                found.push_back({.id = inside.client.id, .inner = inside.area, .outer = inside.area});
        if (window.client.pid == pid)
            found.push_back({.id = window.client.id,
                             .inner = window.area,
                             .outer = window.area,
                             .frameExtents = window.frameExtents,
                             .overrideRedirect = window.overrideRedirect && !window.managed,
                             .takesPointer = !window.emptyInputShape});
    }
    return found;
}

std::string textIn(xcb_get_property_reply_t const& reply)
{
    if (reply.format != 8)
        return {};
    return {static_cast<char const*>(xcb_get_property_value(&reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(&reply))};
}

/// Asks for what the survey does not tell.
class Details {
public:
    explicit Details(X11Connection const& connection) : connection(connection), batch(connection.get()) {}

    void ask(ProcessWindow& window)
    {
        askTitle(window, XCB_ATOM_WM_NAME);
        askTitle(window, connection.atoms().netWmName);
        batch.ask(xcb_get_geometry(connection.get(), window.id), xcb_get_geometry_reply,
                  [&window](xcb_get_geometry_reply_t const& reply) {
                      window.inner.width = reply.width;
                      window.inner.height = reply.height;
                  });
        batch.ask(xcb_translate_coordinates(connection.get(), window.id, connection.root(), 0, 0),
                  xcb_translate_coordinates_reply, [&window](xcb_translate_coordinates_reply_t const& reply) {
                      window.inner = {reply.dst_x, reply.dst_y, window.inner.width, window.inner.height};
                  });
    }
    void run() { batch.run(); }

private:
    void askTitle(ProcessWindow& window, std::uint32_t atom)
    {
        batch.ask(xcb_get_property(connection.get(), 0, window.id, atom, XCB_ATOM_ANY, 0, 1024),
                  xcb_get_property_reply, [&window](xcb_get_property_reply_t const& reply) {
                      if (std::string title = textIn(reply); !title.empty())
                          window.title = std::move(title);
                  });
    }

    X11Connection const& connection;
    XBatch batch;
};

} // namespace

std::vector<ProcessWindow>
processWindows(X11Connection const& connection, WindowSurvey const& survey, std::int32_t pid)
{
    std::vector<ProcessWindow> windows = chosen(survey, pid);
    Details details(connection);
    for (ProcessWindow& window : windows)
        details.ask(window);
    details.run();
    return windows;
}

} // namespace zelvo
