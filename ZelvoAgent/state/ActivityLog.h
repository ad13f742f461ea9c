#pragma once

#include "state/ActivityEntry.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The entries of the activity log, newest first, with their stored form kept beside them: an agent that
/// looks at the screen five times a second rewrites the list each time.
class ActivityLog {
public:
    static constexpr std::size_t maxActivityEntries = 500;

    std::vector<ActivityEntry> const& entries() const { return list; }

    /// Puts an entry on top and drops the oldest beyond the limit.
    void add(ActivityEntry entry);
    /// Replaces an entry in place.
    void replace(std::size_t index, ActivityEntry entry);

    /// The JSON array of all entries.
    std::string encoded() const;
    /// Takes over a stored list as it is, also one beyond the limit; a broken one is empty.
    static ActivityLog decoded(std::string_view bytes);

private:
    std::vector<ActivityEntry> list;
    std::vector<std::string> texts; // The JSON of each entry of `list`.
};

} // namespace zelvo
