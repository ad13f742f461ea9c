#pragma once

#include "platform/linux/x11/windows/SurveyQuestions.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <cstddef>
#include <vector>

namespace zelvo {

/// Goes down each client's window, and each of the window manager's own, and collects other clients' windows
/// in it, up to a number of windows. Thread: one.
class EmbeddedSearch {
public:
    EmbeddedSearch(SurveyQuestions& questions, WindowSurvey& survey) : questions(questions), survey(survey) {}

    void run(SurveyChildren const& children);

private:
    /// Applications with a window for every element have hundreds.
    static constexpr std::size_t maxInside = 3000;
    using Level = std::vector<SurveyStep>;
    Level firstLevel(SurveyChildren const& children);
    Level below(Level const& level);
    void addInside(SurveyStep step, Level& level);
    void askAreas();
    void askArea(EmbeddedWindow& inside, bool& isVisible);

    SurveyQuestions& questions;
    WindowSurvey& survey;
    std::vector<std::size_t> found; // by index: the windows inside
};

} // namespace zelvo
