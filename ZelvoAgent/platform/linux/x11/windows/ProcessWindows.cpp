#include "platform/linux/x11/windows/ProcessWindows.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XBatch.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <ranges>

namespace zelvo {

namespace {

std::vector<ProcessWindow> chosen(WindowSurvey const& survey, std::int32_t pid)
{
    std::vector<ProcessWindow> found;
    for (SurveyedWindow const& window : std::views::reverse(survey.windows)) {
        if (window.inputOnly)
            continue;
        for (EmbeddedWindow const& inside : window.embedded)
            if (inside.client.pid == pid)
                found.push_back({.id = inside.client.id,
                                 .title = inside.client.title,
                                 .inner = inside.area,
                                 .outer = inside.area});
        if (window.client.pid == pid && !window.windowManagers)
            found.push_back({.id = window.client.id,
                             .title = window.client.title,
                             .inner = window.area,
                             .outer = window.area,
                             .frameExtents = window.frameExtents,
                             .overrideRedirect = window.overrideRedirect && !window.managed,
                             .takesPointer = !window.emptyInputShape});
    }
    return found;
}

/// Asks for what the survey does not tell.
class Details {
public:
    explicit Details(X11Connection const& connection) : connection(connection), batch(connection.get()) {}

    void ask(ProcessWindow& window)
    {
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
