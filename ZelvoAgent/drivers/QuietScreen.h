#pragma once

#include "base/Clock.h"
#include "base/Geometry.h"

#include <deque>
#include <optional>
#include <vector>

namespace zelvo {

/// Decides when a screen is at rest: for a while nothing was drawn but what blinks in place, such as a caret,
/// a clock's second or a small spinner. Thread: one at a time.
class QuietScreen {
public:
    struct Settings {
        Duration quiet{};                  ///< how long nothing may be drawn
        DesktopSize display;               ///< points
        std::optional<DesktopRect> region; ///< only drawing in it counts; nullopt for the whole display
    };

    QuietScreen(Settings settings, Instant start);

    /// areas  what one look found; those that touch each other are one drawing
    void note(std::vector<DesktopRect> const& areas, Instant now);
    /// When the screen will be at rest if nothing more is drawn.
    Instant quietAt() const { return lastDrawing + settings.quiet; }

    /// A drawing blinks if it covers less than this part of the display, and only what small drawings have
    /// covered there before.
    static constexpr double maxBlinkingPart = 0.001;

private:
    bool counts(DesktopRect const& drawing);
    bool isSmall(DesktopRect const& area) const;
    void remember(DesktopRect const& drawing);

    Settings settings;
    Instant lastDrawing;
    std::deque<DesktopRect> places; ///< where small drawings were, each of them small; the oldest first
};

} // namespace zelvo
