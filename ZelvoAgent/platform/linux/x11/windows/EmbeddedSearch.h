#pragma once

#include "platform/linux/x11/windows/SurveyQuestions.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

namespace zelvo {

/// Goes down each client's window, and each of the window manager's own, and collects other clients' windows
/// in it. Thread: one.
class EmbeddedSearch {
public:
    EmbeddedSearch(SurveyQuestions& questions, WindowSurvey& survey) : questions(questions), survey(survey) {}

    void run(SurveyChildren const& children);

private:
    using Level = std::vector<SurveyStep>;
    Level firstLevel(SurveyChildren const& children);
    Level below(Level const& level);
    void addInside(SurveyStep step, Level& level);
    void askAreas();
    void askArea(EmbeddedWindow& inside, bool& isVisible);

    SurveyQuestions& questions;
    WindowSurvey& survey;
};

} // namespace zelvo
