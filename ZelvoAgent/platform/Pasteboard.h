#pragma once

#include "base/Task.h"
#include "platform/RunningApplication.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

/// A change of the clipboard's content.
struct ClipboardChange {
    std::int64_t count = 0; ///< the change counter after it; 0 for the content from before the start
    /// The application of the process that owns the clipboard since then. It has no names if it is unknown.
    /// Only the names, `isRegular` and `launchDate` are filled in.
    RunningApplication owner = {};
    bool isOurs = false;     ///< made by this program
    bool isManagers = false; ///< made by a clipboard manager, which offers what others copied
};

/// The general clipboard, plain text only.
/// Thread: any; callers are resumed on their own executor.
/// Made by: platform/linux/x11/clipboard/X11Pasteboard, tests/fakes/FakePasteboard.
class Pasteboard {
public:
    /// The longest text that is read, in bytes of UTF-8. It fits a frame of 192 MiB even if each byte is
    /// escaped as six, with room for the rest of the frame.
    static constexpr std::size_t maxTextLength = std::size_t{31} << 20;

    virtual ~Pasteboard() = default;
    /// Grows with each change of the content by any program, this one included. Never waits.
    virtual std::int64_t changeCount() const = 0;
    /// The latest changes after that count, oldest first. -1 includes the content from before the start. May
    /// be empty: some systems do not know who changed the clipboard.
    virtual Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count) = 0;
    /// The plain text as UTF-8. Empty if there is none, if it is longer than maxTextLength, or if its owner
    /// fails to deliver it: is silent for 5 s, needs more than 30 s in all or ends in the middle.
    virtual Task<std::string> text() = 0;
    /// Replaces the content. False if the system refuses.
    virtual Task<bool> setText(std::string text) = 0;
    /// At a normal end: gives the text that this program owns to a clipboard manager that keeps it. Takes at
    /// most 1.5 s; returns at once if there is no text or no manager.
    virtual Task<> handOver() = 0;
};

} // namespace zelvo
