#include "platform/linux/wayland/capture/HiddenPresence.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace zelvo {

HiddenPresence::HiddenPresence(Parts given) : parts(std::move(given)), own(::getpid()) {}

bool HiddenPresence::isConnected(std::set<std::string> const& excluded) const
{
    std::set<std::string> others = excluded;
    others.erase(ownBundleIdentifier);
    if (others.empty())
        return false;
    auto const clients = parts.clients.processes();
    if (!clients)
        return true;
    bool const isClient = std::ranges::any_of(
        *clients, [&](std::int32_t pid) { return pid != own && parts.namesOfProcess(pid).isHidden(others); });
    // A window may say more than its process: an interpreter runs many applications.
    return isClient || hasWindow(others);
}

bool HiddenPresence::hasWindow(std::set<std::string> const& excluded) const
{
    if (!parts.windows)
        return false;
    auto const now = parts.windows->look();
    return !now || !leftOut(*now, excluded).empty();
}

std::set<std::string> HiddenPresence::leftOut(WindowsNow const& now,
                                              std::set<std::string> const& excluded) const
{
    if (now.chrome.empty())
        return parts.hiddenOf(now, excluded);
    WindowsNow all = now;
    all.windows.insert(all.windows.end(), now.chrome.begin(), now.chrome.end());
    auto ids = parts.hiddenOf(all, excluded);
    if (std::ranges::any_of(excluded, [](auto const& name) { return name != ownBundleIdentifier; }))
        for (CompositorWindow const& part : now.chrome)
            if (!part.pid && part.words == WindowWords{})
                ids.insert(part.id);
    return ids;
}

std::optional<std::vector<CompositorWindow>> HiddenPresence::ownOnScreen() const
{
    std::vector<CompositorWindow> windows;
    if (!parts.windows)
        return windows;
    auto const now = parts.windows->look();
    if (!now)
        return std::nullopt;
    for (CompositorWindow const& window : now->windows)
        if (window.pid == own && window.isOnScreen)
            windows.push_back(window);
    return windows;
}

} // namespace zelvo
