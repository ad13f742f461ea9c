#include "fakes/FakeScreenSource.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/portable/streams/PacedScreenStream.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace zelvo::test {
namespace {

class AlwaysChanging final : public ChangeDetector {
public:
    bool take() override { return true; }
    bool isAlive() const override { return true; }
};

/// Takes frames without a pause for a while.
class SlowOutput final : public ScreenStreamOutput {
public:
    void frameArrived(ScreenFrame const&) override
    {
        EXPECT_FALSE(isInside.exchange(true));
        ++frames;
        for (int i = 0; i < 20; ++i)
            std::this_thread::yield();
        EXPECT_FALSE(isOver);
        isInside = false;
    }
    void streamStopped(ScreenFailure const& failure) override { ADD_FAILURE() << failure.reason; }

    std::atomic<int> frames = 0;
    std::atomic<bool> isInside = false;
    std::atomic<bool> isOver = false;
};

class PacedStreamThreads : public testing::Test {
protected:
    /// Waits until every stream's task has ended.
    ~PacedStreamThreads() override
    {
        work.reset();
        thread.join();
        workers.join();
    }

    std::unique_ptr<ScreenStream> open(std::shared_ptr<SlowOutput> const& output)
    {
        PacedStreamParts const parts{.contexts = contexts,
                                     .clock = clock,
                                     .source = source,
                                     .openChanges = [] { return std::make_unique<AlwaysChanging>(); }};
        ScreenStreamRequest const request{.picture = {.display = 7, .width = 8, .height = 8, .excluded = {}},
                                          .minimumFrameInterval = 0ns};
        return std::make_unique<PacedScreenStream>(parts, parts.openChanges(), request,
                                                   asio::make_strand(contexts.workers), output);
    }

    ManualClock clock; // stands still, so that every frame is due at once
    FakeScreenSource source;
    asio::io_context agent;
    asio::thread_pool workers{2};
    asio::executor_work_guard<asio::io_context::executor_type> work{agent.get_executor()};
    Contexts contexts{agent.get_executor(), agent.get_executor(), workers.get_executor()};
    std::thread thread{[this] { agent.run(); }};
};

TEST_F(PacedStreamThreads, deliverNothingOnceTheyAreStopped)
{
    for (int round = 0; round < 50; ++round) {
        auto const output = std::make_shared<SlowOutput>();
        auto const stream = open(output);
        while (output->frames <= round % 3)
            std::this_thread::yield();

        auto stopped = asio::co_spawn(contexts.agent, stream->stop(), asio::use_future);
        runBlocking(contexts.agent, stream->updateFilter({}, {"b"}));
        stream->setWanted(round % 2 == 0);
        stopped.get();

        EXPECT_FALSE(output->isInside);
        output->isOver = true;
    }
}

TEST_F(PacedStreamThreads, mayGoAtAnyMoment)
{
    for (int round = 0; round < 200; ++round) {
        auto output = std::make_shared<SlowOutput>();
        auto stream = open(output);
        while (round % 4 != 0 && output->frames < round % 4)
            std::this_thread::yield();
        stream->setWanted(false);
        stream->setWanted(true);
        if (round % 2 == 0)
            output.reset();
        stream.reset();
    }
}

} // namespace
} // namespace zelvo::test
