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

/// Notes which application the clipboard's content came from. No system says so; told is the application that
/// was in front at the first look after a change, which comes within half a second. What was there before the
/// program started is of an unknown source. Thread: main; the desktop is asked on the workers.
class ClipboardWatcher {
public:
    /// The content of this moment counts as unchanged.
    ClipboardWatcher(Contexts const& contexts, Clock& clock, Pasteboard& pasteboard, Workspace& workspace);
    ~ClipboardWatcher();
    ClipboardWatcher(ClipboardWatcher const&) = delete;
    ClipboardWatcher& operator=(ClipboardWatcher const&) = delete;

    /// Looks every half second from now on. Starting again begins the half second anew.
    void start();
    /// Looks no more. What was noted stays.
    void stop();
    /// One look, as at each tick. Resumes when the source of a change is noted, also by a look that was under
    /// way.
    Task<> poll();

    /// The application that was in front when the clipboard last changed; nothing when there was none, or it
    /// has no name, or nothing has changed yet.
    std::optional<std::string> lastSourceBundleId() const;
    /// Whether any of the names of that application is on the hidden list, as it is now. False for an unknown
    /// one.
    bool isSourceHidden(std::set<std::string> const& hidden) const;

private:
    struct Poller;

    Executor main;
    Clock& clock;
    std::shared_ptr<Poller> poller; ///< the timer holds it weakly
    TaskHandle timer;
};

} // namespace zelvo
