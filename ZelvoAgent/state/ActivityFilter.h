#pragma once

#include "state/ActivityEntry.h"

namespace zelvo {

/// Which entries of the activity log are shown.
enum class ActivityFilter { all, agents, terminal, mac };

template <>
struct EnumTexts<ActivityFilter> {
    static constexpr std::array<std::string_view, 4> texts = {"all", "agents", "terminal", "mac"};
};

/// The filter's name in the person's language.
std::string title(ActivityFilter filter);
bool matches(ActivityFilter filter, ActivityEntry const& entry);

} // namespace zelvo
