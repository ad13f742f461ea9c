#include "app/overlays/AgentCursorView.h"

#include "app/overlays/OverlayImage.h"

#include <QApplication>

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::chrono::milliseconds frameTime{16};

} // namespace

AgentCursorView::AgentCursorView(AgentCursorModel& model, OverlayWindows& windows, Clock& clock)
    : model(model), windows(windows), clock(clock), appearance([this] { drawAnew(); }),
      modelChanges(model.changed.connect([this] { drawSoon(); })),
      displayChanges(windows.changed.connect([this] { drawAnew(); }))
{
    tick.setSingleShot(true);
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, &tick, [this] { draw(); });
    drawSoon();
}

std::unique_ptr<OverlayPanel>
AgentCursorView::open(AgentCursorModel& model, OverlayWindows& windows, Clock& clock)
{
    if (!windows.mainDisplay())
        return nullptr;
    return std::make_unique<AgentCursorView>(model, windows, clock);
}

/// Several changes together are drawn once.
void AgentCursorView::drawSoon()
{
    tick.start(0);
}

/// In other colours, or at another scale.
void AgentCursorView::drawAnew()
{
    pointer.reset();
    ripples.clear();
    drawSoon();
}

void AgentCursorView::draw()
{
    auto const display = windows.mainDisplay();
    if (!display)
        return;
    Instant const now = clock.now();
    drawRipples(now, display->scale);
    drawPointer(now, display->scale);
    if (model.isMoving(now))
        tick.start(frameTime);
}

void AgentCursorView::drawPointer(Instant now, double scale)
{
    CursorDrawing::Figure const figure{model.name(), model.activity(), model.opacityAt(now)};
    if (!model.position() || figure.opacity <= 0) {
        pointer.reset();
        return;
    }
    DesktopPoint const place = model.pointAt(now);
    if (pointer && figure == drawn) {
        pointer->move(place);
        return;
    }
    if (!pointer)
        pointer = windows.open(OverlayWindows::Layer::pointer);
    drawn = figure;
    Theme const theme(QApplication::palette());
    pointer->show(place, overlayPicture(CursorDrawing::areaOf(figure), scale, [&](QPainter& painter) {
                      CursorDrawing::paint(painter, figure, theme);
                  }));
}

void AgentCursorView::drawRipples(Instant now, double scale)
{
    std::erase_if(ripples, [this](auto const& one) {
        return std::ranges::find(model.ripples(), one.first, &AgentCursorModel::Ripple::id) ==
               model.ripples().end();
    });
    Theme const theme(QApplication::palette());
    for (AgentCursorModel::Ripple const& ripple : model.ripples()) {
        std::unique_ptr<OverlayWindow>& window = ripples[ripple.id];
        if (!window)
            window = windows.open(OverlayWindows::Layer::ripple);
        window->show(ripple.point, overlayPicture(CursorDrawing::rippleArea(), scale, [&](QPainter& painter) {
                         CursorDrawing::paintRipple(painter, ripple.growth.at(now), theme);
                     }));
    }
}

} // namespace zelvo
