#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/pipewire/PipewireStream.h"

#include <functional>
#include <memory>

namespace zelvo {

/// The stream of one monitor: pictures on demand, and what is drawn while that is wanted.
/// Thread: agent.
class MonitorStream : public std::enable_shared_from_this<MonitorStream> {
public:
    using OnPicture = std::function<void(VideoFrame)>;

    /// drawn  called after each frame that differs from the one before, while that is wanted
    /// lost   called once, when no frame will arrive any more
    MonitorStream(Contexts contexts, std::function<void()> drawn, std::function<void()> lost);

    /// Throws ScreenFailure.
    void open(std::shared_ptr<PipewireCore> core, std::uint32_t node);
    /// Calls `onFrame` with the first frame that was drawn after this call; one request at a time.
    void request(OnPicture onFrame);
    /// Forgets the request.
    void cancel();
    void setDrawingWanted(bool wanted);

private:
    void notePaused();
    void noteStreaming();
    void take(VideoFrame frame);
    void compare(VideoFrame frame);
    void update();

    Contexts contexts;
    std::function<void()> drawn;
    std::function<void()> lost;
    std::unique_ptr<PipewireStream> stream;
    OnPicture requested;
    std::uint64_t lastDigest = 0;
    bool isPaused = false;    // The sender has confirmed it.
    bool isStreaming = false; // This, too.
    bool isActive = false;    // What we asked for.
    bool awaitsPause = false; // Frames are from before the request until then.
    bool isDrawingWanted = false;
    bool isComparing = false; // A worker reads a frame; frames meanwhile count as drawn after it.
    bool isBehind = false;
};

} // namespace zelvo
