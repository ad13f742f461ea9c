#pragma once

#include "drivers/TreeCapturing.h"
#include "wire/AgentError.h"

#include <cstdint>
#include <string>
#include <vector>

/// What the tree check of the diagnostics window says. Pure.
namespace zelvo::TreeReport {

struct Facts {
    bool isExpanded = false; ///< a Chromium publishes its tree because this program asked for it
    bool interactiveOnly = false;
    std::int64_t milliseconds = 0;
};

/// The whole report, its lines joined by line feeds.
std::string of(UiTreeSnapshot const& snapshot, Facts facts);
/// The report of a reading that failed.
std::string ofFailure(AgentError error);
/// An element: its role, then its title, description, identifier and actions, as far as it has them.
/// Applications choose these texts, so control characters are removed, which could make another line of them.
std::string lineOf(UiElementInfo const& element);

} // namespace zelvo::TreeReport
