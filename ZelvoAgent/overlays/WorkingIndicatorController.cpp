#include "overlays/WorkingIndicatorController.h"

#include "base/LocalizedTexts.h"
#include "state/AgentState.h"

#include <utility>

namespace zelvo {

WorkingIndicatorController::WorkingIndicatorController(AgentState& state, OverlayMaker makeWindow)
    : state(state), makeWindow(std::move(makeWindow))
{
}

void WorkingIndicatorController::start()
{
    cancellable = state.changed.connect([this] { follow(); });
    follow();
}

void WorkingIndicatorController::stop()
{
    cancellable.disconnect();
    window.reset();
}

void WorkingIndicatorController::follow()
{
    bool const isWorking = state.isAgentWorking();
    if (std::exchange(wasWorking, isWorking) == isWorking)
        return;
    window = isWorking ? makeWindow() : nullptr;
}

std::string indicatorBadge(std::optional<std::string> const& agent, bool isRecording)
{
    if (agent)
        return localized(isRecording ? "indicator.badgeAgentRecording" : "indicator.badgeAgent", {*agent});
    return localized(isRecording ? "indicator.badgeRecording" : "indicator.badge");
}

} // namespace zelvo
