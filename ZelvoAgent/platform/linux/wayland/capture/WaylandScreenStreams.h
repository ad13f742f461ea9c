#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenStream.h"
#include "platform/linux/wayland/capture/DrawingSignal.h"

namespace zelvo {

/// Streams of a compositor's monitors. They take their pictures from the screen source, as screenshots do, so
/// both leave out the same windows.
class WaylandScreenStreams final : public ScreenStreams {
public:
    /// All of it outlives the streams.
    WaylandScreenStreams(Contexts contexts, Clock& clock, ScreenSource& source, DrawingSignal& drawing);

    Task<std::unique_ptr<ScreenStream>>
    open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output) override;

private:
    Contexts contexts;
    Clock& clock;
    ScreenSource& source;
    DrawingSignal& drawing;
};

} // namespace zelvo
