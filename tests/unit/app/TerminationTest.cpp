#include "app/Termination.h"

#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

/// A recorder that takes a second to close its recording.
class SlowRecorder final : public SessionRecording {
public:
    explicit SlowRecorder(Clock& clock) : clock(clock) {}

    bool open = false;
    std::vector<bool> finished; ///< `quitting` of each call

    Task<> agentActed(std::optional<std::string>, std::string) override { co_return; }
    Task<> agentLooked() override { co_return; }
    bool hasOpenFile() const override { return open; }
    Task<> finishNow(bool quitting) override
    {
        finished.push_back(quitting);
        co_await clock.sleep(1s);
        open = false;
    }
    Task<> untilClosed() override { co_return; }

private:
    Clock& clock;
};

class TerminationTest : public testing::Test {
protected:
    using Reply = Termination::Reply;

    asio::io_context io;
    ManualClock clock{&io};
    SlowRecorder recorder{clock};
    int ends = 0;
    Termination termination{io.get_executor(), recorder, [this] { ++ends; }};
};

TEST_F(TerminationTest, isAtOnceWithoutAnOpenRecording)
{
    EXPECT_EQ(termination.shouldTerminate(), Reply::terminateNow);
    settle(io);
    EXPECT_TRUE(recorder.finished.empty());
    EXPECT_EQ(ends, 0); // The one who asked ends it.
}

TEST_F(TerminationTest, waitsUntilTheRecordingIsClosed)
{
    recorder.open = true;
    EXPECT_EQ(termination.shouldTerminate(), Reply::terminateLater);
    settle(io);
    EXPECT_EQ(recorder.finished, std::vector<bool>{true});
    clock.advance(999ms);
    EXPECT_EQ(ends, 0);
    clock.advance(1ms);
    EXPECT_EQ(ends, 1);
}

TEST_F(TerminationTest, closesTheRecordingOnceHoweverOftenItIsAsked)
{
    recorder.open = true;
    termination.shouldTerminate();
    EXPECT_EQ(termination.shouldTerminate(), Reply::terminateLater);
    clock.advance(1s);
    EXPECT_EQ(recorder.finished.size(), 1u);
    EXPECT_EQ(ends, 1);
}

} // namespace
} // namespace zelvo
