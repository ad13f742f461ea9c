#include "platform/linux/wayland/sway/SwayWindows.h"

#include "platform/linux/wayland/sway/SwayTree.h"

#include <algorithm>
#include <utility>

namespace zelvo {

bool SwayWindows::isOffered()
{
    auto const tree = SwayIpc().ask(SwayHeader::getTree);
    return tree && windowsOfTree(*tree);
}

SwayWindows::SwayWindows(Contexts contexts) : contexts(std::move(contexts)) {}

std::optional<WindowsNow> SwayWindows::look()
{
    if (events)
        events->keepFollowing();
    std::optional<std::string> tree;
    {
        std::scoped_lock const guard(asking);
        tree = ipc.ask(SwayHeader::getTree);
    }
    auto windows = tree ? windowsOfTree(*tree) : std::nullopt;
    if (!windows)
        return std::nullopt;
    WindowsNow now;
    now.windows = std::move(*windows);
    return now;
}

void SwayWindows::observe(std::function<void()> observer)
{
    events.emplace(contexts, std::move(observer));
}

bool SwayWindows::activate(std::string const& id)
{
    return command(id, "focus");
}

bool SwayWindows::putInFront(std::string const& id)
{
    // Sway changes nothing of a window in the scratchpad; the focus brings it out.
    return command(id, "focus") && command(id, "fullscreen disable, floating enable, sticky enable, focus");
}

bool SwayWindows::command(std::string const& id, std::string const& text)
{
    bool const isNumber =
        !id.empty() && std::ranges::all_of(id, [](char letter) { return letter >= '0' && letter <= '9'; });
    if (!isNumber)
        return false;
    std::scoped_lock const guard(asking);
    auto const reply = ipc.ask(SwayHeader::runCommand, "[con_id=" + id + "] " + text);
    return reply && hasSucceeded(*reply);
}

} // namespace zelvo
