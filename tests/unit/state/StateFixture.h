#pragma once

#include "fakes/FakePlatform.h"
#include "state/AgentState.h"

#include <gtest/gtest.h>

namespace zelvo {

/// The program's state on a machine in memory.
class StateFixture : public testing::Test {
protected:
    AgentState::Services services()
    {
        return {.main = platform.contexts.main,
                .clock = platform.time,
                .defaults = platform.settings,
                .session = platform.sessionEvents,
                .screen = platform.screenSource,
                .refreshDisplay = [this] { ++displayRefreshes; }};
    }

    FakePlatform platform;
    int displayRefreshes = 0;
    AgentState state{services()};
};

} // namespace zelvo
