#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/FrameSource.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace zelvo {

/// Tells several observers that a monitor may show something new. With a source that does not know, it tells
/// them twenty times a second. Costs nothing while nobody observes. Thread: any.
class DrawingSignal {
public:
    static constexpr std::uint32_t anyMonitor = 0;

    /// All of it outlives this.
    DrawingSignal(Contexts contexts, Clock& clock, FrameSource& frames);
    ~DrawingSignal();
    DrawingSignal(DrawingSignal const&) = delete;
    DrawingSignal& operator=(DrawingSignal const&) = delete;

    /// While the returned object exists, calls `drawn` on the agent executor; it may still be called for a
    /// moment afterwards.
    std::shared_ptr<void> observe(std::uint32_t monitor, std::function<void()> drawn);

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace zelvo
