#pragma once

#include "platform/linux/x11/windows/SurveyQuestions.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

namespace zelvo {

/// Asks for the place, the shapes and the children of the survey's windows, and whether they are clients'
/// themselves.
SurveyChildren surveyTopLevels(SurveyQuestions& questions, WindowSurvey& survey);

} // namespace zelvo
