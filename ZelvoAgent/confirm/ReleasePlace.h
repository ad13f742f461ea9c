#pragma once

#include "base/Clock.h"
#include "confirm/ElementProbing.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/OwnUiGuard.h"

#include <functional>
#include <optional>

namespace zelvo {

/// Finds where a held button may be let go without pressing what a left click would ask the person about.
/// Thread: any; resumes the caller on the caller's executor.
class ReleasePlace {
public:
    /// isStrict  whether the person's strict guard is on; without it a button is let go where it is
    ReleasePlace(Clock& clock,
                 Executor workers,
                 ElementProbing& probe,
                 HiddenAppGuard& hiddenGuard,
                 OwnUiGuard& ownUi,
                 std::function<bool()> isStrict);

    /// `nullopt` if it may be let go at this point.
    Task<std::optional<DesktopPoint>> awayFrom(DesktopPoint at);

private:
    Task<bool> isHarmless(DesktopPoint at);

    Clock& clock;
    Executor workers;
    ElementProbing& probe;
    HiddenAppGuard& hiddenGuard;
    OwnUiGuard& ownUi;
    std::function<bool()> isStrict;
};

} // namespace zelvo
