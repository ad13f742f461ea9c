#pragma once

#include "state/ActivityEntry.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The entries of the activity log, newest first. Caches the JSON of each entry, because an agent that takes
/// five screenshots a second rewrites the list each time.
class ActivityLog {
public:
    static constexpr std::size_t maxActivityEntries = 500;

    std::vector<ActivityEntry> const& entries() const { return list; }

    /// Inserts an entry at the front and drops the oldest ones beyond the limit.
    void add(ActivityEntry entry);
    /// Replaces an entry in place.
    void replace(std::size_t index, ActivityEntry entry);

    /// The JSON array of all entries.
    std::string encoded() const;
    /// Reads a stored list, even if it exceeds the limit. A broken list gives an empty log.
    static ActivityLog decoded(std::string_view bytes);

private:
    std::vector<ActivityEntry> list;
    std::vector<std::string> texts; // The JSON of each entry of `list`.
};

} // namespace zelvo
