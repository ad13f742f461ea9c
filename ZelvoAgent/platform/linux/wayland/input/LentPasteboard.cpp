#include "platform/linux/wayland/input/LentPasteboard.h"

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t maxKept = 64; // More changes than anybody asks for at once.

}

Task<std::vector<ClipboardChange>> LentPasteboard::changesAfter(std::int64_t count)
{
    std::vector<ClipboardChange> changes = co_await inner.changesAfter(count);
    std::vector<PutBack> const known = putBacks.get();
    for (ClipboardChange& change : changes) {
        bool const isPutBack = std::ranges::any_of(known, [&](PutBack const& one) {
            return change.count > one.after && (!one.upTo || change.count <= *one.upTo);
        });
        if (change.isOurs && isPutBack) {
            change.isOurs = false;
            change.isManagers = true;
        }
    }
    co_return changes;
}

void LentPasteboard::beginOwn()
{
    putBacks.change([now = inner.changeCount()](std::vector<PutBack>& known) {
        for (PutBack& one : known)
            if (!one.upTo)
                one.upTo = now;
    });
}

Task<bool> LentPasteboard::setText(std::string text)
{
    beginOwn();
    co_return co_await inner.setText(std::move(text));
}

Task<bool> LentPasteboard::lend(std::string text)
{
    beginOwn();
    co_return co_await inner.lend(std::move(text));
}

Task<bool> LentPasteboard::putBack(ClipboardForms forms)
{
    // Before it is done: who asks meanwhile must not take it for ours.
    putBacks.change([now = inner.changeCount()](std::vector<PutBack>& known) {
        if (known.size() == maxKept)
            known.erase(known.begin());
        known.push_back({.after = now, .upTo = std::nullopt});
    });
    co_return co_await inner.putBack(std::move(forms));
}

} // namespace zelvo
