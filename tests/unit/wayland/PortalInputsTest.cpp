#include "platform/linux/wayland/portal/PortalInputs.h"

#include "fakes/FakeInputSink.h"
#include "fakes/Run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using ::testing::ElementsAre;

/// Sessions that a test grants, and what arrives by each way.
class PortalInputsTest : public ::testing::Test {
protected:
    void grant(bool hasEis)
    {
        PortalInputs::Granted next{.session = std::make_shared<int>()};
        if (hasEis)
            next.openEis = [this]() -> Task<std::shared_ptr<InputSink>> {
                ++openings;
                eis = connects ? std::make_shared<FakeInputSink>() : nullptr;
                weakEis = eis;
                co_return eis;
            };
        granted = next;
    }

    std::shared_ptr<InputSink> makeCalls()
    {
        calls = std::make_shared<FakeInputSink>();
        weakCalls = calls;
        return calls;
    }

    bool press(int code) { return run(io, input.key(code, true)); }

    asio::io_context io;
    std::optional<PortalInputs::Granted> granted;
    bool connects = true;
    int openings = 0;
    std::shared_ptr<FakeInputSink> eis;
    std::shared_ptr<FakeInputSink> calls;
    std::weak_ptr<InputSink> weakEis;
    std::weak_ptr<InputSink> weakCalls;
    PortalInputs input{{.granted = [this] { return granted; }, .makeCalls = [this] { return makeCalls(); }}};
};

TEST_F(PortalInputsTest, makesNothingWithoutAGrant)
{
    EXPECT_FALSE(input.isReady());
    EXPECT_FALSE(press(30));
    EXPECT_FALSE(run(io, input.moveTo({1, 2})));
    EXPECT_FALSE(run(io, input.button(272, true)));
    EXPECT_FALSE(run(io, input.scroll(1, 0)));
    run(io, input.drained());
    EXPECT_FALSE(calls);
}

TEST_F(PortalInputsTest, sendsEverythingByEisWhereTheSessionHasIt)
{
    grant(true);
    EXPECT_TRUE(input.isReady());

    EXPECT_TRUE(run(io, input.moveTo({1, 2})));
    EXPECT_TRUE(run(io, input.button(272, true)));
    EXPECT_TRUE(run(io, input.scroll(3, -1)));
    EXPECT_TRUE(press(30));
    run(io, input.drained());
    EXPECT_FALSE(run(io, input.type("text")));

    ASSERT_TRUE(eis);
    EXPECT_THAT(eis->log, ElementsAre("move 1,2", "press 272", "wheel 3,-1", "down 30", "drained"));
    EXPECT_EQ(openings, 1);
    EXPECT_FALSE(calls);
}

TEST_F(PortalInputsTest, callsMethodsWhereThereIsNoEis)
{
    grant(false);
    EXPECT_TRUE(press(30));
    EXPECT_THAT(calls->log, ElementsAre("down 30"));

    connects = false;
    grant(true);
    EXPECT_TRUE(press(31));
    EXPECT_TRUE(press(32));
    EXPECT_EQ(openings, 1) << "it asks once for a session";
    EXPECT_THAT(calls->log, ElementsAre("down 31", "down 32"));
}

TEST_F(PortalInputsTest, beginsAnewWithEachSession)
{
    grant(true);
    EXPECT_TRUE(press(30));
    eis = nullptr;
    EXPECT_FALSE(weakEis.expired());

    grant(false);
    EXPECT_TRUE(press(31));
    EXPECT_TRUE(weakEis.expired()) << "its end releases what it held";
    EXPECT_THAT(calls->log, ElementsAre("down 31"));
    calls = nullptr;

    grant(true);
    EXPECT_TRUE(press(32));
    EXPECT_TRUE(weakCalls.expired());
    EXPECT_THAT(eis->log, ElementsAre("down 32"));
    eis = nullptr;

    granted = std::nullopt;
    EXPECT_FALSE(press(33));
    EXPECT_TRUE(weakEis.expired());
}

TEST_F(PortalInputsTest, isNotReadyWhenEisHasEnded)
{
    grant(true);
    EXPECT_TRUE(press(30));

    eis->ready = false;
    eis->failsAfter = 0;

    EXPECT_FALSE(input.isReady());
    EXPECT_FALSE(press(31));
    EXPECT_FALSE(calls) << "the desktop refuses methods after it has given EIS";
    grant(true);
    EXPECT_TRUE(input.isReady());
    EXPECT_TRUE(press(32));
}

TEST_F(PortalInputsTest, doesNotKeepTheSession)
{
    auto const session = std::make_shared<int>();
    granted = PortalInputs::Granted{.session = session};
    EXPECT_TRUE(press(30));

    granted = std::nullopt;

    EXPECT_EQ(session.use_count(), 1);
}

} // namespace
} // namespace zelvo
