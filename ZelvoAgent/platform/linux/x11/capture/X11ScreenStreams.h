#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenStream.h"
#include "platform/linux/x11/capture/X11ScreenSource.h"

namespace zelvo {

/// Streams of the X screen. Their pictures are the screen source's, which takes one at a time for videos and
/// screenshots alike: so both leave out the same, and what one has learnt of windows that still show others'
/// pixels holds for the other too.
class X11ScreenStreams final : public ScreenStreams {
public:
    /// source, clock: outlive all streams. Making this object costs nothing; a stream opens a connection of
    /// its own, on which it is told of changes.
    X11ScreenStreams(Contexts contexts, Clock& clock, X11ScreenSource& source);

    Task<std::unique_ptr<ScreenStream>>
    open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output) override;

private:
    Contexts contexts;
    Clock& clock;
    X11ScreenSource& source;
};

} // namespace zelvo
