#include "platform/linux/x11/windows/FrameSearch.h"

namespace zelvo {

void FrameSearch::run(SurveyChildren const& children)
{
    std::vector<SurveyStep> level;
    for (std::size_t i = 0; i < survey.windows.size(); ++i)
        if (!survey.windows[i].managed)
            for (std::uint32_t const child : children[i])
                level.push_back({i, child});
    for (int depth = 0; depth < 3 && !level.empty(); ++depth) {
        for (SurveyStep const& step : level)
            if (questions.areForeign(step.window, survey.windows[step.top].id))
                askWhetherClient(step);
        questions.run();
        level = belowFrames(level);
    }
    for (SurveyedWindow& window : survey.windows)
        window.windowManagers =
            !window.managed && windowManager && questions.server().clientOf(window.id) == windowManager;
}

void FrameSearch::askWhetherClient(SurveyStep const& step)
{
    questions.property(step.window, questions.atoms().wmState, 0,
                       [this, step](SurveyQuestions::Property const& reply) {
                           if (reply.type != XCB_ATOM_NONE)
                               clients.insert(step.window);
                       });
    questions.attributes(step.window, [this, step](xcb_get_window_attributes_reply_t const& reply) {
        SurveyedWindow& frame = survey.windows[step.top];
        bool const shown = reply.map_state == XCB_MAP_STATE_VIEWABLE;
        if (!clients.contains(step.window) || (frame.managed && !shown))
            return;
        frame.managed = true;
        frame.client.id = step.window;
    });
}

/// The next level down in frames whose client is not found yet. Some window managers put it one window
/// deeper.
std::vector<SurveyStep> FrameSearch::belowFrames(std::vector<SurveyStep> const& level)
{
    std::vector<SurveyStep> next;
    for (SurveyStep const& step : level) {
        SurveyedWindow const& frame = survey.windows[step.top];
        if (frame.managed || questions.server().clientOf(frame.id) != windowManager ||
            questions.areForeign(step.window, frame.id))
            continue;
        questions.children(step.window, [&next, step](std::vector<std::uint32_t> const& inside) {
            for (std::uint32_t const child : inside)
                next.push_back({step.top, child});
        });
    }
    questions.run();
    return next;
}

} // namespace zelvo
