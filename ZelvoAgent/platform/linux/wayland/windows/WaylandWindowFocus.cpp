#include "platform/linux/wayland/windows/WaylandWindowFocus.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace zelvo {

namespace {

/// Toolkits append the program's name after a dash, and compositors a number in angle brackets to the second
/// window of a title.
bool isTitle(std::string_view shown, std::string_view own)
{
    if (!shown.starts_with(own))
        return false;
    std::string_view const rest = shown.substr(own.size());
    return rest.empty() || (!own.empty() && (rest.starts_with(" \u2014 ") || rest.starts_with(" <")));
}

bool isOrdinary(CompositorWindow const& window)
{
    return window.kind != CompositorWindow::Kind::popup && window.kind != CompositorWindow::Kind::overlay;
}

} // namespace

std::uint32_t WaylandWindowFocus::activeWindow()
{
    auto const snapshot = desktop.look();
    CompositorWindow const* const active = snapshot ? snapshot->active() : nullptr;
    return active ? snapshot->idOf(*active) : 0;
}

std::uint32_t WaylandWindowFocus::idOf(OwnWindow const& window)
{
    if (!window.nativeId)
        return 0;
    auto const snapshot = desktop.look();
    std::scoped_lock const guard(lock);
    if (!snapshot) {
        auto const known = found.find(window.nativeId);
        return known != found.end() ? known->second : 0;
    }
    std::erase_if(found, [&](auto const& known) { return !snapshot->find(known.second); });
    if (auto const known = found.find(window.nativeId); known != found.end())
        return known->second;
    std::uint32_t const id = newestNamed(*snapshot, window.title);
    if (id)
        found.emplace(window.nativeId, id);
    return id;
}

std::uint32_t WaylandWindowFocus::newestNamed(WindowSnapshot const& snapshot, std::string const& title) const
{
    std::uint32_t newest = 0;
    for (CompositorWindow const& window : snapshot.windows().windows) {
        std::uint32_t const id = snapshot.idOf(window);
        bool const isTaken =
            std::ranges::any_of(found, [id](auto const& known) { return known.second == id; });
        if (snapshot.owners().isOwn(window) && isOrdinary(window) && !isTaken && isTitle(window.title, title))
            newest = std::max(newest, id);
    }
    return newest;
}

void WaylandWindowFocus::putInFront(std::uint32_t window, std::uint32_t /*over*/)
{
    desktop.putInFront(window);
}

void WaylandWindowFocus::activate(std::uint32_t window)
{
    desktop.activate(window);
}

WindowStanding WaylandWindowFocus::standing(std::uint32_t window)
{
    auto const snapshot = desktop.look();
    if (!snapshot && desktop.hasSeen(window))
        return {.exists = true, .isOnScreen = true};
    CompositorWindow const* const wanted = snapshot ? snapshot->find(window) : nullptr;
    if (!wanted)
        return {};
    CompositorWindow const* const active = snapshot->active();
    bool const isChildActive =
        active && active->kind == CompositorWindow::Kind::popup && active->parent == wanted->id;
    return {
        .exists = true, .isOnScreen = wanted->isOnScreen, .hasKeyboard = active == wanted || isChildActive};
}

} // namespace zelvo
