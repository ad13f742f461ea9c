#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace zelvo {

/// Reports that something was drawn on an output, by frames that zwlr_screencopy holds back until then. At
/// most thirty reports a second for an output; none is lost. Thread: any.
class DrawingFrames {
public:
    using Drawn = std::function<void(std::uint32_t monitor)>;

    /// drawn  called on the agent executor, once for each output at first. The pointer counts only where the
    ///        compositor draws it into the picture.
    DrawingFrames(Contexts contexts, Clock& clock, Drawn drawn);
    ~DrawingFrames();
    DrawingFrames(DrawingFrames const&) = delete;
    DrawingFrames& operator=(DrawingFrames const&) = delete;

    /// Connects, or ends the connection; soon, without waiting.
    void setWanted(bool wanted);

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace zelvo
