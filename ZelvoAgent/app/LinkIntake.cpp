#include "app/LinkIntake.h"

#include "base/LocalizedTexts.h"

#include <utility>

namespace zelvo {

namespace {

constexpr Duration noteInterval = 1min;

} // namespace

LinkIntake::LinkIntake(LinkCoordinator& coordinator, AgentState& state, Clock& clock)
    : coordinator(coordinator), state(state), clock(clock)
{
    following = coordinator.changed.connect([this] { follow(); });
}

void LinkIntake::take(std::string token)
{
    if (hasBegun || coordinator.isBusy()) {
        noteDropped();
        return;
    }
    hasBegun = true;
    coordinator.begin(std::move(token));
}

// The coordinator becomes busy some time after begin().
void LinkIntake::follow()
{
    if (coordinator.isBusy())
        isRunning = hasBegun;
    else if (std::exchange(isRunning, false))
        hasBegun = false;
}

void LinkIntake::noteDropped()
{
    if (notedAt && clock.now() - *notedAt < noteInterval)
        return;
    notedAt = clock.now();
    AgentState::LogLine line{.platform = localized("activity.app"),
                             .summary = localized("activity.linksDropped")};
    line.kind = ActivityKind::connection;
    state.log(std::move(line));
}

} // namespace zelvo
