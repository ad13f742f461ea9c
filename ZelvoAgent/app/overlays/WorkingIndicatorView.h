#pragma once

#include "app/overlays/AppearanceWatch.h"
#include "app/overlays/FrameDrawing.h"
#include "overlays/OverlayPanel.h"
#include "platform/OverlayWindows.h"

#include <boost/signals2/connection.hpp>

#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

class AgentState;
class RecordingState;

/// The frame around the main display and its badge, while an agent works. It draws only when something that
/// it shows changes. A window for each edge, because one for the whole display would cost the memory and the
/// blending of a full screen. Thread: main.
class WorkingIndicatorView final : public OverlayPanel {
public:
    /// All must outlive it.
    WorkingIndicatorView(AgentState& state, RecordingState& recording, OverlayWindows& windows);

    /// Null if there is no display.
    static std::unique_ptr<OverlayPanel>
    open(AgentState& state, RecordingState& recording, OverlayWindows& windows);

private:
    void drawAnew();
    void draw();

    AgentState& state;
    RecordingState& recording;
    OverlayWindows& windows;
    std::vector<std::unique_ptr<OverlayWindow>> edges;
    std::optional<FrameDrawing::Figure> drawn;
    AppearanceWatch appearance;
    boost::signals2::scoped_connection stateChanges;
    boost::signals2::scoped_connection recordingChanges;
    boost::signals2::scoped_connection displayChanges;
};

} // namespace zelvo
