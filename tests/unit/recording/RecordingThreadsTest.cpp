#include "fakes/FakeDesktop.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeUserDefaults.h"
#include "fakes/FakeVideoFolders.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "recording/RecordingWriter.h"
#include "recording/SessionRecorder.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace zelvo {
namespace {

/// Counts the recordings of a test. Thread: any.
struct Tally {
    std::atomic<int> made = 0;
    std::atomic<int> frames = 0;
    std::atomic<int> closed = 0;
    std::atomic<int> cancelled = 0;
    std::atomic<int> handedOn = 0;
};

class CountedVideoFile final : public VideoFile {
public:
    explicit CountedVideoFile(Tally& tally) : tally(tally) { ++tally.made; }
    bool isReadyForMoreData() const override { return true; }
    bool append(Picture const&, Duration time) override { return write(time); }
    bool repeat(Duration time) override { return write(time); }
    bool finish(Duration end) override
    {
        ++tally.closed;
        return end > last;
    }
    void cancel() override { ++tally.cancelled; }

private:
    bool write(Duration time)
    {
        EXPECT_GT(time, last);
        last = time;
        ++tally.frames;
        return true;
    }

    Tally& tally;
    Duration last = -1ns; // Unsynchronized: a sanitizer reports it if two threads come here at the same time.
};

class CountedVideoFiles final : public VideoFiles {
public:
    explicit CountedVideoFiles(Tally& tally) : tally(tally) {}
    std::unique_ptr<VideoFile> create(VideoSettings) override
    {
        return std::make_unique<CountedVideoFile>(tally);
    }

private:
    Tally& tally;
};

/// A stream that delivers frames continuously on its queue.
class BusyStream final : public ScreenStream {
public:
    BusyStream(ScreenStreamRequest const& request, Executor queue, std::weak_ptr<ScreenStreamOutput> output)
        : state(std::make_shared<State>(request.picture, std::move(queue), std::move(output)))
    {
        deliver(state);
    }
    Task<> updateFilter(std::optional<std::uint32_t>, std::set<std::string>) override { co_return; }
    void setWanted(bool) override {}
    Task<> stop() override
    {
        state->stopped = true;
        co_return;
    }

private:
    struct State {
        State(CaptureRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output)
            : request(std::move(request)), queue(std::move(queue)), output(std::move(output))
        {
        }
        CaptureRequest request;
        Executor queue;
        std::weak_ptr<ScreenStreamOutput> output;
        Instant time; // queue
        std::atomic<bool> stopped = false;
    };

    static void deliver(std::shared_ptr<State> const& state)
    {
        asio::post(state->queue, [state] {
            auto const output = state->output.lock();
            if (!output || state->stopped)
                return;
            Picture picture;
            picture.width = state->request.width;
            picture.height = state->request.height;
            ScreenFrame frame{.time = state->time += 125ms};
            frame.picture = &picture;
            output->frameArrived(frame);
            deliver(state);
        });
    }

    std::shared_ptr<State> state;
};

class BusyStreams final : public ScreenStreams {
public:
    Task<std::unique_ptr<ScreenStream>>
    open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output) override
    {
        co_return std::make_unique<BusyStream>(request, std::move(queue), std::move(output));
    }
};

/// The recorder on the program's threads. The clock never advances, so nothing waits for a time.
class RecordingThreads : public testing::Test {
public:
    RecordingThreads() { settings.setMode(RecordingMode::local); }
    ~RecordingThreads() override
    {
        work.reset();
        thread.join();
        workers.join();
    }

    /// Runs a task on an executor and waits for its end.
    void await(Executor executor, std::function<Task<>()> body) { runBlocking(std::move(executor), body()); }

    asio::io_context agent;
    asio::thread_pool workers{2};
    asio::thread_pool main{1};
    asio::executor_work_guard<asio::io_context::executor_type> work{agent.get_executor()};
    Contexts contexts{main.get_executor(), agent.get_executor(), workers.get_executor()};
    ManualClock clock;
    FakeUserDefaults defaults;
    RecordingSettings settings{defaults};
    FakeSystemAccess access;
    FakeVideoFolders folders;
    FakeScreenSource screen;
    BusyStreams streams;
    Tally tally;
    CountedVideoFiles videos{tally};
    RecordingWriter::Services recording{
        .workers = contexts.workers, .clock = clock, .screen = screen, .streams = streams, .videos = videos};
    std::shared_ptr<SessionRecorder> recorder = SessionRecorder::create({
        .contexts = contexts,
        .clock = clock,
        .settings = settings,
        .access = access,
        .folders = folders,
        .startWriter = RecordingWriter::starter(recording),
        .hiddenBundleIds = {},
        .isPaused = {},
        .onFinished = [this](FinishedRecording, bool) -> Task<> {
            ++tally.handedOn;
            co_return;
        },
        .onCapturingChanged = {},
        .log = {},
    });
    std::thread thread{[this] { agent.run(); }};
};

TEST_F(RecordingThreads, leaveNoRecordingOpen)
{
    for (int i = 0; i < 60; ++i) {
        std::string const connection = i % 3 == 0 ? "a" : "b";
        await(contexts.agent, [&] { return recorder->agentActed(connection, "Acme"); });
        await(contexts.agent, [&] { return recorder->agentLooked(); });
        if (i % 7 == 0)
            await(contexts.main, [&] { return recorder->finishNow(false); });
    }
    await(contexts.main, [&] { return recorder->finishNow(true); });

    EXPECT_FALSE(recorder->hasOpenFile());
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_GE(tally.made, 40);
    EXPECT_EQ(tally.closed + tally.cancelled, tally.made);
    EXPECT_EQ(tally.handedOn, tally.closed);
    EXPECT_GT(tally.frames, 0);
}

TEST_F(RecordingThreads, mayActAtOnce)
{
    std::vector<std::future<void>> all;
    for (int i = 0; i < 40; ++i) {
        auto act = [this, connection = std::string(i % 2 == 0 ? "a" : "b")] {
            return recorder->agentActed(connection, "Acme");
        };
        all.push_back(asio::co_spawn(i % 4 < 2 ? contexts.agent : contexts.main, act, asio::use_future));
        if (i % 10 == 9)
            all.push_back(asio::co_spawn(
                contexts.main, [this] { return recorder->finishNow(false); }, asio::use_future));
    }
    for (auto& each : all)
        each.get();
    await(contexts.main, [&] { return recorder->finishNow(true); });

    EXPECT_FALSE(recorder->hasOpenFile());
    EXPECT_GE(tally.made, 1);
    EXPECT_EQ(tally.closed + tally.cancelled, tally.made);
}

TEST_F(RecordingThreads, pauseAndGoOnWhileFramesArrive)
{
    RecordingStart start;
    start.file = "/recordings/Zelvo x.mp4";
    std::shared_ptr<RecordingOutput> output;
    await(contexts.agent, [&]() -> Task<> { output = co_await RecordingWriter::start(recording, start); });
    double longest = 0;
    for (int i = 0; tally.frames < 500; ++i) {
        output->pause(Instant{} + std::chrono::seconds(i));
        output->resume();
        await(contexts.agent, [&]() -> Task<> {
            double const recorded = co_await output->recordedSeconds();
            EXPECT_GE(recorded, longest);
            longest = recorded;
            std::set<std::string> const excluded = {"org.keys"};
            co_await output->updateFilter(excluded);
        });
    }
    await(contexts.agent, [&]() -> Task<> { co_await output->finish(); });

    EXPECT_EQ(tally.closed + tally.cancelled, 1);
}

} // namespace
} // namespace zelvo
