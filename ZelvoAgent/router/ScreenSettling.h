#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "drivers/QuietScreen.h"
#include "drivers/ScreenCapture.h"
#include "platform/DrawingWatch.h"
#include "router/Admission.h"
#include "state/AgentState.h"

#include <optional>

namespace zelvo {

/// Waits until the screen is at rest. The right, the pause and the lock are checked during the whole wait,
/// and the list of hidden applications is read again at each look. Thread: the router's strand.
class ScreenSettling {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        AgentState& state;
        ScreenCapture& screen;
        DrawingWatches& drawings;
    };

    struct Request {
        Duration quiet{};                  ///< how long nothing visible may be drawn
        Duration timeout{};                ///< how long to wait for that
        std::optional<DesktopRect> region; ///< only drawing there counts; nullopt for the whole display
        std::optional<Asker> asker;        ///< who needs the right; nullopt if no rights are checked
    };

    struct Result {
        bool settled = false;
        Duration elapsed{};
    };

    explicit ScreenSettling(Services services) : services(std::move(services)) {}

    /// Throws AgentError as an action would, at once if a pause, a lock or the loss of the right ends the
    /// wait; AgentError::invalidRequest for a region without a pixel of the display;
    /// AgentError::hiddenAppActive as ScreenCapture does; ScreenFailure.
    Task<Result> settle(Request request);

private:
    class Wait;

    Services services;
};

} // namespace zelvo
