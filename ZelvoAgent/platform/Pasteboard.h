#pragma once

#include "base/Task.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace zelvo {

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
