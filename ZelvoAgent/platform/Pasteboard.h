#pragma once

#include "base/Task.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace zelvo {

/// The general clipboard, as far as it holds plain text.
/// Thread: any; callers are resumed on their own executor.
/// Made by: platform/linux/x11/clipboard/X11Pasteboard, tests/fakes/FakePasteboard.
class Pasteboard {
public:
    /// The longest text that is read, in bytes of UTF-8. It fits a frame of 192 MiB even when every byte of
    /// it has to be escaped by six, with room for the rest of the frame.
    static constexpr std::size_t maxTextLength = std::size_t{31} << 20;

    virtual ~Pasteboard() = default;
    /// Grows with each change of the content, by whomever, this program included. Never waits.
    virtual std::int64_t changeCount() const = 0;
    /// The plain text, always UTF-8. Empty when there is none, when it is longer than maxTextLength, and when
    /// the application that has it does not hand it over: that is silent for 5 s, takes more than 30 s in all
    /// or ends in the middle.
    virtual Task<std::string> text() = 0;
    /// Puts a text in the place of what is there. False when the system does not take it.
    virtual Task<bool> setText(std::string text) = 0;
    /// At a normal end: gives what this program has put there to whoever keeps it beyond that. Takes at most
    /// 1.5 s, and no time when there is nothing to give or nobody to take it.
    virtual Task<> handOver() = 0;
};

} // namespace zelvo
