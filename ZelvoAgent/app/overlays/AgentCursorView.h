#pragma once

#include "app/overlays/AppearanceWatch.h"
#include "app/overlays/CursorDrawing.h"
#include "base/Clock.h"
#include "overlays/AgentCursorModel.h"
#include "overlays/OverlayPanel.h"
#include "platform/OverlayWindows.h"

#include <QTimer>
#include <boost/signals2/connection.hpp>

#include <map>
#include <memory>
#include <string>

namespace zelvo {

/// The agent's cursor on the screen: one small window for pointer and label, and one for each ripple. It
/// draws 60 times a second while something moves, and has no timer while nothing does. Thread: main.
class AgentCursorView final : public OverlayPanel {
public:
    /// model, windows, clock  must outlive it
    AgentCursorView(AgentCursorModel& model, OverlayWindows& windows, Clock& clock);

    /// Null if there is no display.
    static std::unique_ptr<OverlayPanel> open(AgentCursorModel& model, OverlayWindows& windows, Clock& clock);

    bool isTicking() const { return tick.isActive(); }

private:
    void drawSoon();
    void drawAnew();
    void draw();
    void drawPointer(Instant now, double scale);
    void drawRipples(Instant now, double scale);

    AgentCursorModel& model;
    OverlayWindows& windows;
    Clock& clock;
    std::unique_ptr<OverlayWindow> pointer;
    CursorDrawing::Figure drawn;                                   ///< what `pointer` shows
    std::map<std::string, std::unique_ptr<OverlayWindow>> ripples; ///< by the ripple's id
    QTimer tick;
    AppearanceWatch appearance;
    boost::signals2::scoped_connection modelChanges;
    boost::signals2::scoped_connection displayChanges;
};

} // namespace zelvo
