#pragma once

#include "base/Clock.h"
#include "gateway/LinkCoordinator.h"
#include "state/AgentState.h"

#include <boost/signals2/connection.hpp>

#include <optional>
#include <string>

namespace zelvo {

/// Begins links one at a time. Any page can open link URLs, as many as it likes, so those that arrive while a
/// request runs are dropped, with one line in the activity log a minute at most. Thread: main.
class LinkIntake {
public:
    LinkIntake(LinkCoordinator& coordinator, AgentState& state, Clock& clock);
    LinkIntake(LinkIntake const&) = delete;
    LinkIntake& operator=(LinkIntake const&) = delete;

    void take(std::string token);

private:
    void follow();
    void noteDropped();

    LinkCoordinator& coordinator;
    AgentState& state;
    Clock& clock;
    bool hasBegun = false;          // A request has begun and not ended.
    bool isRunning = false;         // The coordinator was seen at work on it.
    std::optional<Instant> notedAt; // When a dropped link was last logged.
    boost::signals2::scoped_connection following;
};

} // namespace zelvo
