#include "platform/linux/wayland/input/LentPasteboard.h"

#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t maxKept = 64; // More changes than anybody asks for at once.

}

Task<std::vector<ClipboardChange>> LentPasteboard::changesAfter(std::int64_t count)
{
    std::vector<ClipboardChange> changes = co_await inner.changesAfter(count);
    std::set<std::int64_t> const ours = putBackAt.get();
    for (ClipboardChange& change : changes)
        if (change.isOurs && ours.contains(change.count)) {
            change.isOurs = false;
            change.isManagers = true;
        }
    co_return changes;
}

Task<bool> LentPasteboard::putBack(std::string text)
{
    std::int64_t const before = inner.changeCount();
    if (!co_await inner.setText(std::move(text)))
        co_return false;
    std::int64_t const after = inner.changeCount();
    putBackAt.change([&](std::set<std::int64_t>& counts) {
        // Which of these counts is ours is not known; a change of others is not touched by this.
        for (std::int64_t count = before + 1; count <= after; ++count)
            counts.insert(count);
        while (counts.size() > maxKept)
            counts.erase(counts.begin());
    });
    co_return true;
}

} // namespace zelvo
