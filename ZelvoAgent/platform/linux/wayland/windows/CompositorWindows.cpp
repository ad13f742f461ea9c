#include "platform/linux/wayland/windows/CompositorWindows.h"

#include <utility>

namespace zelvo {

CompositorWindows::CompositorWindows(WindowSource* source,
                                     Entries entries,
                                     std::int32_t own,
                                     KnownProcesses::Read facts)
    : source(source), readEntries(std::move(entries)), own(own), facts(std::move(facts))
{
}

std::shared_ptr<WindowSnapshot const> CompositorWindows::look()
{
    auto now = source ? source->look() : std::nullopt;
    if (!now)
        return nullptr;
    return std::make_shared<WindowSnapshot const>(*std::move(now), ids, readEntries(), own, facts);
}

std::set<std::string> CompositorWindows::hiddenOf(WindowsNow const& now,
                                                  std::set<std::string> const& hidden) const
{
    auto const index = readEntries();
    WindowOwnership const owners(now, *index, own, facts);
    std::set<std::string> found;
    for (CompositorWindow const& window : now.windows)
        if (owners.namesOf(window).isHidden(hidden))
            found.insert(window.id);
    return found;
}

bool CompositorWindows::activate(std::uint32_t window)
{
    auto const known = ids.windowOf(window);
    return source && known && source->activate(*known);
}

bool CompositorWindows::putInFront(std::uint32_t window)
{
    auto const known = ids.windowOf(window);
    return source && known && source->putInFront(*known);
}

RunningApplication CompositorWindows::program(std::int32_t pid) const
{
    return program(pid, false);
}

RunningApplication CompositorWindows::certainProgram(std::int32_t pid) const
{
    return program(pid, true);
}

RunningApplication CompositorWindows::program(std::int32_t pid, bool mustHaveEntry) const
{
    // As if it had one window that says nothing.
    ClientWindow const window{.id = 1, .pid = pid};
    ClientWindows const windows{.lastActiveFirst = {&window}};
    KnownProcesses const processes(facts);
    auto const index = readEntries();
    auto const applications = windowApplications(windows, *index, own, processes);
    WindowApplication known = applications.at(window.id);
    known.names.isHiddenWithAny |= mustHaveEntry && !known.entry && pid != own;
    return runningApplication(known, window, processes);
}

} // namespace zelvo
