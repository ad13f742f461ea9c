#include "platform/linux/x11/capture/Redirection.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/capture/WindowWatch.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <xcb/composite.h>
#include <xcb/xcb.h>

#include <set>

namespace zelvo {

namespace {

/// Whether each window is redirected already, for instance by a compositing manager.
std::vector<bool> haveOwnMemory(X11Connection const& connection, WindowSurvey const& survey)
{
    auto* const x = connection.get();
    std::vector<std::pair<xcb_pixmap_t, xcb_void_cookie_t>> asked;
    for (SurveyedWindow const& window : survey.windows) {
        xcb_pixmap_t const pixmap = xcb_generate_id(x);
        asked.emplace_back(pixmap, xcb_composite_name_window_pixmap_checked(x, window.id, pixmap));
    }
    std::vector<bool> have;
    for (auto const& [pixmap, cookie] : asked) {
        have.push_back(!XReply<xcb_generic_error_t>(xcb_request_check(x, cookie)));
        if (have.back())
            xcb_free_pixmap(x, pixmap);
    }
    return have;
}

/// The windows that cover a part of a window.
std::set<std::uint32_t> covering(WindowSurvey const& survey, std::size_t i)
{
    std::set<std::uint32_t> found;
    for (std::size_t above = i + 1; above < survey.windows.size(); ++above)
        if (!survey.windows[above].inputOnly &&
            !intersection(survey.windows[i].area, survey.windows[above].area).isEmpty())
            found.insert(survey.windows[above].id);
    return found;
}

} // namespace

void redirectWindows(X11Connection const& connection, WindowWatch& watch)
{
    auto* const x = connection.get();
    xcb_grab_server(x);
    WindowSurvey const survey = surveyWindows(connection);
    std::vector<bool> const own = haveOwnMemory(connection, survey);
    for (std::size_t i = 0; i < survey.windows.size(); ++i)
        if (!survey.windows[i].inputOnly && !own[i])
            watch.stale().markStale(survey.windows[i].id, covering(survey, i));
    xcb_composite_redirect_subwindows(x, connection.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    xcb_ungrab_server(x);
    connection.sync();
}

} // namespace zelvo
