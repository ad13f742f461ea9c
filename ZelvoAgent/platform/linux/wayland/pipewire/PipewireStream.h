#pragma once

#include "base/Task.h"
#include "platform/linux/wayland/pipewire/VideoFrame.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace zelvo {

class PipewireCore;

/// One video stream. It is paused at first, and while it is paused the sender does nothing. When it is
/// resumed the sender sends what the screen shows then, and after that a frame for each change. Thread:
/// agent.
class PipewireStream {
public:
    struct Events {
        std::function<void()> onPaused; ///< no frame from before arrives any more
        std::function<void()> onStreaming;
        std::function<void(VideoFrame)> onFrame;
        std::function<void()> onLost; ///< called once; the stream is of no use from then on
    };

    /// Throws ScreenFailure.
    PipewireStream(std::shared_ptr<PipewireCore> core, std::uint32_t node, Events events);
    ~PipewireStream();
    PipewireStream(PipewireStream const&) = delete;
    PipewireStream& operator=(PipewireStream const&) = delete;

    void setActive(bool active);

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace zelvo
