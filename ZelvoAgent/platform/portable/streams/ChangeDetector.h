#pragma once

namespace zelvo {

/// Detects whether a new picture of the screen would differ from the last one, without taking it. Thread: one
/// at a time; blocks for a moment.
/// Made by: X11ChangeDetector and test fakes.
class ChangeDetector {
public:
    virtual ~ChangeDetector() = default;
    /// Whether anything has changed since the last call, or since construction. Later changes count for the
    /// next call.
    virtual bool take() = 0;
    /// False if the screen system is gone.
    virtual bool isAlive() const = 0;
};

} // namespace zelvo
