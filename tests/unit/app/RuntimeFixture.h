#pragma once

#include "app/AgentParts.h"
#include "fakes/FakeConfirmationPanel.h"
#include "fakes/FakeOverlays.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace zelvo {

/// The whole agent without its windows, on a machine in memory.
class RuntimeFixture : public testing::Test {
protected:
    FakePlatform platform;
    FakePanels panels{platform.windowFocus};
    FakeOverlays overlays;
    AgentParts parts{platform.contexts, platform, panels.maker(), overlays.cursorMaker(), [] { return 1.0; }};

    // A waiting receive loop and its socket hold each other until the socket ends.
    void TearDown() override
    {
        run(platform.io, parts.runtime.shutDown());
        platform.settle();
    }
    void start()
    {
        parts.state.startObserving();
        parts.runtime.start();
        platform.settle();
    }
};

} // namespace zelvo
