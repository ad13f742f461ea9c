#include "app/overlays/WorkingIndicatorView.h"

#include "app/overlays/OverlayImage.h"
#include "overlays/NameInControl.h"
#include "recording/RecordingState.h"
#include "state/AgentState.h"

#include <QApplication>

namespace zelvo {

WorkingIndicatorView::WorkingIndicatorView(AgentState& state,
                                           RecordingState& recording,
                                           OverlayWindows& windows)
    : state(state), recording(recording), windows(windows), appearance([this] { drawAnew(); }),
      stateChanges(state.changed.connect([this] { draw(); })),
      recordingChanges(recording.changed.connect([this] { draw(); })),
      displayChanges(windows.changed.connect([this] { drawAnew(); }))
{
    draw();
}

std::unique_ptr<OverlayPanel>
WorkingIndicatorView::open(AgentState& state, RecordingState& recording, OverlayWindows& windows)
{
    if (!windows.mainDisplay())
        return nullptr;
    return std::make_unique<WorkingIndicatorView>(state, recording, windows);
}

/// In other colours, or on another display.
void WorkingIndicatorView::drawAnew()
{
    drawn.reset();
    edges.clear();
    draw();
}

void WorkingIndicatorView::draw()
{
    auto const display = windows.mainDisplay();
    if (!display)
        return;
    FrameDrawing::Figure const figure{.display = QSizeF(display->width, display->height) / display->scale,
                                      .agent = nameInControl(state.liveAgents()),
                                      .isRecording = recording.isRecording()};
    if (figure == drawn)
        return;
    drawn = figure;
    Theme const theme(QApplication::palette());
    auto const paint = [&](QPainter& painter) { FrameDrawing::paint(painter, figure, theme); };
    std::size_t edge = 0;
    for (QRectF const& part : FrameDrawing::partsOf(figure)) {
        if (edges.size() == edge)
            edges.push_back(windows.open(OverlayWindows::Layer::frame));
        edges[edge++]->show({0, 0}, overlayPicture(part, display->scale, paint));
    }
}

} // namespace zelvo
