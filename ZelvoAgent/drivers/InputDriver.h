#pragma once

#include "base/Clock.h"
#include "drivers/InputDriving.h"
#include "platform/EventPosting.h"

namespace zelvo {

/// Makes the events of the input actions. Has no state of its own.
class InputDriver final : public InputDriving {
public:
    InputDriver(EventPosting& events, Clock& clock);

    Task<> move(DesktopPoint to) override;
    Task<>
    click(DesktopPoint at, MouseButton button, std::int64_t count, std::vector<Modifier> modifiers) override;
    Task<> mouseDown(DesktopPoint at, MouseButton button) override;
    Task<> mouseUp(DesktopPoint at, MouseButton button) override;
    Task<> drag(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs) override;
    Task<> scroll(DesktopPoint at, double dx, double dy) override;
    Task<> type(std::string text) override;
    Task<> pressKeys(std::vector<std::string> keys) override;
    DesktopPoint cursorPosition() override;

private:
    EventPosting& events;
    Clock& clock;
};

/// How a drag of a duration is cut up.
struct DragPlan {
    std::int64_t steps = 2;
    std::int64_t stepDelayMs = 1;
    bool operator==(DragPlan const&) const = default;

    static DragPlan of(std::int64_t durationMs);
};

/// A wheel distance as the system takes it: cut toward zero, values beyond 32 bits at their edge, NaN as 0.
std::int32_t wheelPixels(double distance);

} // namespace zelvo
