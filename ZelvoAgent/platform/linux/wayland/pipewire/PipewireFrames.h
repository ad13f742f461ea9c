#pragma once

#include "base/AsyncMutex.h"
#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/FrameSource.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace zelvo {

/// Streams that the desktop granted.
struct GrantedStreams {
    /// Of a connection to PipeWire that the desktop opened for us; taken over. -1 for the session's socket.
    int descriptor = -1;
    std::map<std::uint32_t, std::uint32_t> nodes; ///< monitor -> node, with an embedded pointer
};

/// What monitors show, from PipeWire streams. A stream is paused unless a picture or the drawing is wanted,
/// and for each picture it is paused and resumed: the first frame after that was drawn later than the call.
/// Thread: see FrameSource.
class PipewireFrames final : public FrameSource {
public:
    PipewireFrames(Contexts contexts, Clock& clock);
    ~PipewireFrames() override;

    /// Replaces what is granted; `nullopt` when the grant ends. A picture that is being taken fails then.
    void setStreams(std::optional<GrantedStreams> streams);

    Task<Picture> everything(std::uint32_t monitor) override;
    bool canLeaveOut() const override { return false; }
    Task<Picture> without(std::uint32_t monitor, LeftOut leftOut) override;
    /// The pointer's movements count, too. Frames with the same pixels as the one before do not.
    bool watchDrawing(std::function<void(std::uint32_t monitor)> drawn) override;
    void setDrawingWanted(bool wanted) override;

private:
    struct State;
    std::shared_ptr<State> state;
    Contexts contexts;
    AsyncMutex mutex;
};

} // namespace zelvo
