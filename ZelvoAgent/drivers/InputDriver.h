#pragma once

#include "base/Clock.h"
#include "drivers/InputDriving.h"
#include "platform/EventPosting.h"

namespace zelvo {

/// Turns input actions into events. Keeps no state.
class InputDriver final : public InputDriving {
public:
    InputDriver(EventPosting& events, Clock& clock);

    Task<> move(DesktopPoint to) override;
    Task<>
    click(DesktopPoint at, MouseButton button, std::int64_t count, std::vector<Modifier> modifiers) override;
    Task<> click(DesktopPoint at,
                 MouseButton button,
                 std::int64_t count,
                 std::vector<Modifier> modifiers,
                 Before beforeNext) override;
    Task<> mouseDown(DesktopPoint at, MouseButton button) override;
    Task<> mouseUp(DesktopPoint at, MouseButton button) override;
    Task<> drag(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs) override;
    Task<bool>
    dragHeld(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs) override;
    Task<> scroll(DesktopPoint at, double dx, double dy) override;
    Task<> type(std::string text) override;
    Task<> type(std::string text, BeforePiece before) override;
    Task<> pressKeys(std::vector<std::string> keys) override;
    Task<> releaseAll() override;
    Task<bool> delivered() override;
    DesktopPoint cursorPosition() override;

private:
    /// False if an event could not be made.
    Task<bool> typePiece(std::string piece);
    Task<> typePieces(std::string text, BeforePiece before);

    EventPosting& events;
    Clock& clock;
};

/// The steps of a drag.
struct DragPlan {
    std::int64_t steps = 2;
    std::int64_t stepDelayMs = 1;
    bool operator==(DragPlan const&) const = default;

    static DragPlan of(std::int64_t durationMs);
};

/// A text in parts of which each but the first begins with a line end or a blank.
std::vector<std::string> textPieces(std::string const& text);

/// A wheel distance in whole pixels: truncated toward zero and clamped to 32 bits; NaN becomes 0.
std::int32_t wheelPixels(double distance);

} // namespace zelvo
