#pragma once

#include "base/DayCalendar.h"
#include "state/ActivityEntry.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The lines of one day, in the order of the log.
struct ActivityDay {
    Date id; ///< when the day begins
    std::string title;
    std::vector<ActivityEntry> entries;
    bool operator==(ActivityDay const&) const = default;
};

/// What a list of activity shows of the log. Pure; any thread.
namespace ActivityPresentation {

/// The name of an icon.
std::string_view symbol(ActivityEntry const& entry);
/// Who, on whose behalf, the note and how often, as far as there is something to say.
std::string subtitle(ActivityEntry const& entry);
bool hasDetail(ActivityEntry const& entry);
/// Is the detail to be shown in letters of one width?
bool detailIsCode(ActivityEntry const& entry);
/// entries  the newest first
std::vector<ActivityDay>
days(std::span<ActivityEntry const> entries, Date now, DayCalendar const& calendar = DayCalendar());
/// The local time, "09:05".
std::string time(Date date);

} // namespace ActivityPresentation

} // namespace zelvo
