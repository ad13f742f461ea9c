#include "platform/linux/wayland/windows/WindowIds.h"

namespace zelvo {

namespace {

/// A look may be noted after a later one, so that a window that is not in it may exist.
constexpr std::uint64_t looksUntilGone = 64;

} // namespace

void WindowIds::note(WindowsNow const& now)
{
    std::scoped_lock const guard(lock);
    ++looks;
    for (CompositorWindow const& window : now.windows)
        numbered(window.id);
    if (byWindow.size() > maxRemembered)
        forgetGone();
}

std::uint32_t WindowIds::idOf(std::string const& window)
{
    std::scoped_lock const guard(lock);
    return numbered(window);
}

std::optional<std::string> WindowIds::windowOf(std::uint32_t id) const
{
    std::scoped_lock const guard(lock);
    auto const found = byId.find(id);
    return found == byId.end() ? std::nullopt : std::optional(found->second);
}

std::size_t WindowIds::size() const
{
    std::scoped_lock const guard(lock);
    return byWindow.size();
}

std::uint32_t WindowIds::numbered(std::string const& window)
{
    auto const [known, isNew] = byWindow.try_emplace(window);
    known->second.seen = looks;
    if (isNew) {
        known->second.id = unusedId();
        byId.emplace(known->second.id, window);
    }
    return known->second.id;
}

std::uint32_t WindowIds::unusedId()
{
    while (next == 0 || byId.contains(next))
        ++next;
    return next++;
}

void WindowIds::forgetGone()
{
    std::erase_if(byWindow, [this](auto const& each) {
        Known const& known = each.second;
        if (known.seen + looksUntilGone >= looks)
            return false;
        byId.erase(known.id);
        return true;
    });
}

} // namespace zelvo
