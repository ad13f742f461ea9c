#pragma once

#include "platform/linux/x11/windows/SurveyQuestions.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <set>

namespace zelvo {

/// Finds the client's window in each frame: the one with WM_STATE, a child of another client, or below the
/// window manager's own windows. Of several, as in frames with tabs, the topmost that is shown counts.
/// Thread: one.
class FrameSearch {
public:
    /// windowManager  its number as a client of the server; 0 without one
    FrameSearch(SurveyQuestions& questions, WindowSurvey& survey, std::uint32_t windowManager)
        : questions(questions), survey(survey), windowManager(windowManager)
    {
    }

    void run(SurveyChildren const& children);

private:
    void askWhetherClient(SurveyStep const& step);
    std::vector<SurveyStep> belowFrames(std::vector<SurveyStep> const& level);

    SurveyQuestions& questions;
    WindowSurvey& survey;
    std::uint32_t windowManager;
    std::set<std::uint32_t> clients; // with WM_STATE, in frames
};

} // namespace zelvo
