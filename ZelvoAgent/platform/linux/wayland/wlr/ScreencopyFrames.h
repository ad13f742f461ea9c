#pragma once

#include "base/AsyncMutex.h"
#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/FrameSource.h"
#include "platform/linux/wayland/wlr/DrawingFrames.h"
#include "platform/linux/wayland/wlr/OutputFrames.h"

#include <memory>

namespace zelvo {

/// FrameSource by zwlr_screencopy, on connections that nothing else uses. It shows outputs only, so it cannot
/// leave out windows. If a connection is lost, the next call makes a new one.
class ScreencopyFrames final : public FrameSource {
public:
    /// Whether the compositor offers the protocol.
    static bool isOffered(WaylandClient const& client);

    ScreencopyFrames(Contexts contexts, Clock& clock);

    Task<Picture> everything(std::uint32_t monitor) override;
    bool canLeaveOut() const override { return false; }
    Task<Picture> without(std::uint32_t monitor, LeftOut leftOut) override;
    bool watchDrawing(std::function<void(std::uint32_t monitor)> drawn) override;
    void setDrawingWanted(bool wanted) override;

private:
    Contexts contexts;
    Clock& clock;
    AsyncMutex taking;
    std::unique_ptr<OutputFrames> frames; // taking
    std::unique_ptr<DrawingFrames> drawing;
};

} // namespace zelvo
