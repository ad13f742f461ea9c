#pragma once

#include "overlays/OverlayPanel.h"

#include <boost/signals2/connection.hpp>

#include <memory>
#include <optional>
#include <string>

namespace zelvo {

class AgentState;

/// Shows the working indicator as long as an agent is at work. Thread: main.
class WorkingIndicatorController {
public:
    WorkingIndicatorController(AgentState& state, OverlayMaker makeWindow);

    /// Begins to follow the state. Once.
    void start();
    /// Hides it for good.
    void stop();

private:
    void follow();

    AgentState& state;
    OverlayMaker makeWindow;
    bool wasWorking = false;
    std::unique_ptr<OverlayPanel> window;
    boost::signals2::scoped_connection cancellable;
};

/// The text of the indicator's badge.
/// agent  the live agent's name, where one is known
std::string indicatorBadge(std::optional<std::string> const& agent, bool isRecording);

} // namespace zelvo
