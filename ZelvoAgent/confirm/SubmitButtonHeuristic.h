#pragma once

#include "confirm/ConfirmationSubject.h"
#include "confirm/ProbedElement.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Decides from an element's texts whether pressing it commits something. Pure; any thread.
namespace zelvo::SubmitButtonHeuristic {

/// What the person must confirm before the element is pressed; `nullopt` if it may be pressed at once.
std::optional<ConfirmationSubject> classify(ProbedElement const& element);

/// True if the text contains one of the committing words ("send", "pay") as a whole word.
bool matches(std::string_view text);

/// The form for comparing: lower case, camel case split, words separated by single blanks.
std::string normalize(std::string_view text);

/// The first label that is meant for people rather than for developers, or else the first label.
std::optional<std::string> humanLabel(std::vector<std::string> const& labels);

} // namespace zelvo::SubmitButtonHeuristic
