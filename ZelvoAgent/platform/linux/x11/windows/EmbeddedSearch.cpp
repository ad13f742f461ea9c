#include "platform/linux/x11/windows/EmbeddedSearch.h"

#include <deque>

namespace zelvo {

void EmbeddedSearch::run(SurveyChildren const& children)
{
    found.assign(survey.windows.size(), 0);
    for (Level level = firstLevel(children); !level.empty();)
        level = below(level);
    askAreas();
}

EmbeddedSearch::Level EmbeddedSearch::firstLevel(SurveyChildren const& children)
{
    Level level;
    for (std::size_t i = 0; i < survey.windows.size(); ++i) {
        SurveyedWindow const& window = survey.windows[i];
        if (window.inputOnly)
            continue;
        bool const framed = window.client.id != window.id;
        if (framed) {
            level.push_back({i, window.client.id, window.client.id});
            survey.watched.push_back(window.client.id);
        }
        for (std::uint32_t const child : children[i])
            if (!framed || (child != window.client.id && questions.areForeign(child, window.id)))
                addInside({i, child, window.id}, level);
        survey.watched.push_back(window.id);
    }
    return level;
}

EmbeddedSearch::Level EmbeddedSearch::below(Level const& level)
{
    Level next;
    for (SurveyStep const& step : level) {
        if (survey.windows[step.top].hasUnknownInside)
            continue;
        questions.children(step.window, [this, &next, step](std::vector<std::uint32_t> const& inside) {
            for (std::uint32_t const child : inside)
                addInside({step.top, child, step.within}, next);
        });
    }
    questions.run();
    return next;
}

void EmbeddedSearch::addInside(SurveyStep step, Level& level)
{
    if (found[step.top] == maxInside) {
        survey.windows[step.top].hasUnknownInside = true;
        return;
    }
    ++found[step.top];
    if (questions.areForeign(step.window, step.within)) {
        survey.windows[step.top].embedded.emplace_back().client.id = step.window;
        step.within = step.window;
    }
    level.push_back(step);
    survey.watched.push_back(step.window);
}

/// What has no area is not to be seen.
void EmbeddedSearch::askAreas()
{
    std::deque<bool> visible; // The places of its elements stay.
    for (SurveyedWindow& window : survey.windows)
        for (EmbeddedWindow& inside : window.embedded)
            askArea(inside, visible.emplace_back(false));
    questions.run();
    for (SurveyedWindow& window : survey.windows)
        std::erase_if(window.embedded, [](EmbeddedWindow const& inside) { return inside.area.isEmpty(); });
}

void EmbeddedSearch::askArea(EmbeddedWindow& inside, bool& isVisible)
{
    questions.attributes(inside.client.id, [&isVisible](xcb_get_window_attributes_reply_t const& reply) {
        isVisible =
            reply.map_state == XCB_MAP_STATE_VIEWABLE && reply._class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
    });
    questions.geometry(inside.client.id, [&](xcb_get_geometry_reply_t const& reply) {
        int const width = reply.width + 2 * reply.border_width;
        int const height = reply.height + 2 * reply.border_width;
        inside.place = {reply.x, reply.y, width, height};
        if (isVisible)
            inside.area = {-reply.border_width, -reply.border_width, width, height};
    });
    auto* const x = questions.server().get();
    questions.ask(xcb_translate_coordinates(x, inside.client.id, questions.server().root(), 0, 0),
                  xcb_translate_coordinates_reply, [&inside](xcb_translate_coordinates_reply_t const& reply) {
                      inside.area = inside.area.movedBy(reply.dst_x, reply.dst_y);
                  });
}

} // namespace zelvo
