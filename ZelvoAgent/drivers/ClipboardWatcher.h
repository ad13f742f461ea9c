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

/// Records which applications the clipboard's content comes from: the one that is frontmost at the first poll
/// after a change, at most half a second later, and the one whose process owns the clipboard. A clipboard
/// manager, and any other program without a window, may offer what others copied: its content also comes from
/// all applications that copied since it started. Thread: main; queries the desktop on the workers.
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
    /// has no name, or if nothing has changed yet. A clipboard manager's change counts as none.
    std::optional<std::string> lastSourceBundleId() const;
    /// The change counter at the last poll.
    std::int64_t lastChange() const;
    /// True if any name of a source is in `hidden`, of the content since that change or of any content after
    /// it. False for an unknown application.
    bool isSourceHidden(std::set<std::string> const& hidden, std::int64_t since) const;

private:
    struct Poller;

    Executor main;
    Clock& clock;
    std::shared_ptr<Poller> poller; ///< the timer holds it weakly
    TaskHandle timer;
};

} // namespace zelvo
