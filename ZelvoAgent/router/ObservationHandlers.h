#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "drivers/InputDriving.h"
#include "drivers/ScreenCapture.h"
#include "recording/SessionRecording.h"
#include "router/ElementWaiting.h"
#include "router/FrontTree.h"
#include "router/HandlerTable.h"
#include "router/ScreenSettling.h"
#include "router/SnapshotStore.h"
#include "state/AgentState.h"

#include <array>
#include <optional>
#include <string>

namespace zelvo {

/// How an agent sees: pictures, trees of elements, the display and the pointer. Thread: the router's strand.
class ObservationHandlers {
    Task<json::value> displayInfo(Admission admission);
    Task<json::value> screenshot(Admission admission);
    Task<json::value> screenSettle(Admission admission);
    Task<json::value> cursorPosition(Admission admission);
    Task<json::value> uiTree(Admission admission);
    Task<json::value> uiWait(Admission admission);

public:
    static constexpr std::array<HandlerRow<ObservationHandlers>, 6> rows = {{
        {"display.info", &ObservationHandlers::displayInfo},
        {"screenshot", &ObservationHandlers::screenshot},
        {"screen.settle", &ObservationHandlers::screenSettle},
        {"cursor.position", &ObservationHandlers::cursorPosition},
        {"ui.tree", &ObservationHandlers::uiTree},
        {"ui.wait", &ObservationHandlers::uiWait},
    }};

    struct Services {
        Contexts contexts;
        Clock& clock;
        AgentState& state;
        ScreenCapture& screen;
        ScreenSettling& settling;
        FrontTree& tree;
        ElementWaiting& waiting;
        InputDriving& input;
        SessionRecording& recorder;
        SnapshotStore& snapshots;
    };

    explicit ObservationHandlers(Services services) : services(std::move(services)) {}

private:
    Task<CapturedImage> capture(ScreenshotOptions options);
    /// Writes nothing if the connection is gone by now.
    Task<> logLooked(std::optional<std::string> connectionId, std::optional<std::string> agentName);

    Services services;
};

} // namespace zelvo
