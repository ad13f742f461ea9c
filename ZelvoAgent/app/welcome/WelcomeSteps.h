#pragma once

#include "wire/Permissions.h"

#include <array>
#include <optional>
#include <string_view>

/// The three things that the program needs before an agent can work. Pure.
namespace zelvo::WelcomeSteps {

struct Step {
    int id = 0; ///< from 1
    std::string_view title;
    std::string_view text;
    bool done = false;
    std::string_view doneTitle;
    std::string_view actionTitle; ///< these are keys of texts
    bool hasSettings = false;
};

using Steps = std::array<Step, 3>;

Steps all(Permissions const& permissions, bool hasConnection);
int doneCount(Steps const& steps);
/// The first step that is not done.
std::optional<int> currentId(Steps const& steps);

} // namespace zelvo::WelcomeSteps
