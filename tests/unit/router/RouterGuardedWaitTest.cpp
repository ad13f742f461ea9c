#include "unit/router/RouterHarness.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

struct Waiting {
    char const* method;
    char const* params;
};

/// What ends every command that waits. Each of these would wait for longer than its test takes.
class RouterGuardedWaitTest : public RouterHarness, public testing::WithParamInterface<Waiting> {
protected:
    void SetUp() override
    {
        RouterHarness::SetUp();
        front("org.editor", "Editor");
    }
    RpcFrame waiting() const { return frame(GetParam().method, GetParam().params); }
    void wait()
    {
        reply.reset();
        start(waiting(), reply);
        platform.time.advance(150ms);
        ASSERT_FALSE(reply);
        ASSERT_EQ(watches(), 1);
    }
    /// Gives the error's code.
    std::string ended()
    {
        platform.settle();
        EXPECT_EQ(watches(), 0);
        return reply ? code(*reply) : "none yet";
    }
    int watches() const
    {
        return platform.drawingWatches.existing + static_cast<int>(platform.interfaceWatches.existing());
    }

    std::optional<json::object> reply;
};

TEST_P(RouterGuardedWaitTest, endsAtOnceWithAPause)
{
    wait();
    state.setPaused(true);
    EXPECT_EQ(ended(), "machine_paused");
}

TEST_P(RouterGuardedWaitTest, endsAtOnceWithALock)
{
    wait();
    platform.sessionEvents.present = Availability::screenLocked;
    state.refreshAvailability();
    EXPECT_EQ(ended(), "machine_unavailable");
    EXPECT_EQ(details(*reply), (json::object{{"reason", "screen_locked"}}));
}

TEST_P(RouterGuardedWaitTest, endsAtOnceWithTheLossOfTheRight)
{
    wait();
    state.setScopes({AgentScope::input}, "c");
    EXPECT_EQ(ended(), "scope_denied");

    state.setScopes({AgentScope::screen}, "c");
    wait();
    state.revoke("c");
    EXPECT_EQ(ended(), "scope_denied");
}

TEST_P(RouterGuardedWaitTest, endsAtOnceWithACancellation)
{
    TaskHandle task = spawn(platform.contexts.agent, [this]() -> Task<> {
        RpcFrame request = waiting();
        co_await router->handle(std::move(request));
    });
    platform.time.advance(150ms);
    ASSERT_EQ(watches(), 1);

    task.cancel();

    EXPECT_EQ(ended(), "none yet");
}

INSTANTIATE_TEST_SUITE_P(All,
                         RouterGuardedWaitTest,
                         testing::Values(Waiting{"screen.settle", R"({"quietMs":300})"},
                                         Waiting{"ui.wait", R"({"name":"Save"})"}),
                         [](auto const& test) { return test.param.method[0] == 's' ? "screen" : "element"; });

} // namespace
} // namespace zelvo
