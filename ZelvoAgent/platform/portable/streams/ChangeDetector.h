#pragma once

namespace zelvo {

/// Notices whether pictures of the screen would differ from before, without reading any. Thread: one at a
/// time; blocks for a moment. Made by: X11ChangeDetector, and by tests.
class ChangeDetector {
public:
    virtual ~ChangeDetector() = default;
    /// Has anything changed since the last call, or since this object was made? What happens after this has
    /// returned belongs to the next call.
    virtual bool take() = 0;
    /// False when the screen system is gone.
    virtual bool isAlive() const = 0;
};

} // namespace zelvo
