#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenStream.h"
#include "platform/linux/x11/capture/X11ScreenSource.h"

namespace zelvo {

/// Streams of the X screen. They take their pictures from the screen source, like screenshots do, so both
/// leave out the same windows and share what is known about stale pixels.
class X11ScreenStreams final : public ScreenStreams {
public:
    /// Creating this object costs nothing; each stream opens a separate connection for change events.
    /// source, clock  must outlive all streams
    X11ScreenStreams(Contexts contexts, Clock& clock, X11ScreenSource& source);

    Task<std::unique_ptr<ScreenStream>>
    open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output) override;

private:
    Contexts contexts;
    Clock& clock;
    X11ScreenSource& source;
};

} // namespace zelvo
