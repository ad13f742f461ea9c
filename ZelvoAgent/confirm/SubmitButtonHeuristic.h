#pragma once

#include "confirm/ConfirmationSubject.h"
#include "confirm/ProbedElement.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Tells from the words on an element whether pressing it commits something. Pure; any thread.
namespace zelvo::SubmitButtonHeuristic {

/// What a person is to be asked before the element is pressed; nothing when it may be pressed.
std::optional<ConfirmationSubject> classify(ProbedElement const& element);

/// Does one of the words that commit something ("send", "pay") stand alone somewhere in the text?
bool matches(std::string_view text);

/// The form in which words are compared: lower case, single blanks between words, camel case taken apart.
std::string normalize(std::string_view text);

/// The first label that is meant for people rather than for developers, else the first one.
std::optional<std::string> humanLabel(std::vector<std::string> const& labels);

} // namespace zelvo::SubmitButtonHeuristic
