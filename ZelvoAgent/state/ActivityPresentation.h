#pragma once

#include "base/DayCalendar.h"
#include "state/ActivityEntry.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The entries of one day, in the order of the log.
struct ActivityDay {
    Date id; ///< when the day begins
    std::string title;
    std::vector<ActivityEntry> entries;
    bool operator==(ActivityDay const&) const = default;
};

/// How lists of activity show the log. Pure; any thread.
namespace ActivityPresentation {

/// The name of an icon.
std::string_view symbol(ActivityEntry const& entry);
/// Agent, platform, note and count, each only if present.
std::string subtitle(ActivityEntry const& entry);
bool hasDetail(ActivityEntry const& entry);
/// True if the detail is shown in a monospaced font.
bool detailIsCode(ActivityEntry const& entry);
/// entries  newest first
std::vector<ActivityDay>
days(std::span<ActivityEntry const> entries, Date now, DayCalendar const& calendar = DayCalendar());
/// Local time, "09:05".
std::string time(Date date);

} // namespace ActivityPresentation

} // namespace zelvo
