#pragma once

#include "platform/linux/wayland/WindowSource.h"
#include "platform/linux/wayland/windows/WindowSnapshot.h"

#include <unistd.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace zelvo {

/// The windows of the compositor for all that asks about them: who owns them, and their ids. Thread: any.
class CompositorWindows {
public:
    /// The installed applications, as they are now.
    using Entries = std::function<std::shared_ptr<DesktopEntryIndex const>()>;

    /// source  null if the compositor shows nobody its windows; else it must outlive this
    /// own     this program's process id
    explicit CompositorWindows(WindowSource* source,
                               Entries entries,
                               std::int32_t own = ::getpid(),
                               KnownProcesses::Read facts = readProcessFacts);

    /// Whether the compositor lets anybody see its windows; it may not answer all the same.
    bool isKnown() const { return source != nullptr; }
    /// Asks the compositor; blocks for some milliseconds. Null if there is no answer.
    std::shared_ptr<WindowSnapshot const> look();
    /// The ids of those windows of a moment that some hidden application's names hide.
    std::set<std::string> hiddenOf(WindowsNow const& now, std::set<std::string> const& hidden) const;
    /// Did the compositor ever show a window of this id? It may be gone.
    bool hasSeen(std::uint32_t window) const { return ids.windowOf(window).has_value(); }
    /// Make a window active, or also put it above all others. False if there is no such window or the
    /// compositor refuses.
    bool activate(std::uint32_t window);
    bool putInFront(std::uint32_t window);

    std::shared_ptr<DesktopEntryIndex const> entries() const { return readEntries(); }
    std::int32_t ownPid() const { return own; }
    /// The application of a process by its program alone. It has no names if there is no such process.
    RunningApplication program(std::int32_t pid) const;
    /// The same where nothing else will say which application it is: hidden if anything is, unless a desktop
    /// entry is of that very program. An interpreter could run a hidden one.
    RunningApplication certainProgram(std::int32_t pid) const;

private:
    RunningApplication program(std::int32_t pid, bool mustHaveEntry) const;

    WindowSource* source;
    Entries readEntries;
    std::int32_t own;
    KnownProcesses::Read facts;
    WindowIds ids;
};

} // namespace zelvo
