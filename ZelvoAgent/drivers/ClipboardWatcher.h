#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace zelvo {

/// Records which application the clipboard's content comes from. No system reports that, so the source is the
/// application that is frontmost at the first poll after a change, at most half a second later. Content from
/// before the program's start has no known source. Thread: main; queries the desktop on the workers.
class ClipboardWatcher {
public:
    /// The clipboard's present content counts as unchanged.
    ClipboardWatcher(Contexts const& contexts, Clock& clock, Pasteboard& pasteboard, Workspace& workspace);
    ~ClipboardWatcher();
    ClipboardWatcher(ClipboardWatcher const&) = delete;
    ClipboardWatcher& operator=(ClipboardWatcher const&) = delete;

    /// Starts to poll every half second. A second call restarts the interval.
    void start();
    /// Stops polling. The recorded source stays.
    void stop();
    /// Polls once. Resumes when the source of a change is recorded; waits for a poll that is already running.
    Task<> poll();

    /// The application that was frontmost at the clipboard's last change. `nullopt` if there was none, if it
    /// has no name, or if nothing has changed yet.
    std::optional<std::string> lastSourceBundleId() const;
    /// True if any name of that application is in `hidden`. False for an unknown application.
    bool isSourceHidden(std::set<std::string> const& hidden) const;

private:
    struct Poller;

    Executor main;
    Clock& clock;
    std::shared_ptr<Poller> poller; ///< the timer holds it weakly
    TaskHandle timer;
};

} // namespace zelvo
