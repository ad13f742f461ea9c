#pragma once

#include "platform/linux/x11/windows/SurveyQuestions.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

namespace zelvo {

/// Asks what a client's window says of itself. The window must stay where it is until the answers are taken.
void askClient(SurveyQuestions& questions, ClientWindow& client);

/// Asks for the place that the client's window of a frame has among windows: its type, its states and its
/// shadows. The same holds.
void askStanding(SurveyQuestions& questions, SurveyedWindow& window);

/// Finds the process of each client in the survey. What the server sees at the other end is a fact; what a
/// window says is used only without it.
void findProcesses(SurveyQuestions& questions, WindowSurvey& survey);

} // namespace zelvo
