#pragma once

#include "fakes/FakeDesktop.h"
#include "fakes/FakeUserDefaults.h"
#include "fakes/FakeVideoFolders.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "recording/SessionRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// A recording that records its calls.
class FakeWriting final : public RecordingOutput {
public:
    explicit FakeWriting(RecordingStart start) : start(std::move(start)) {}

    RecordingStart start;
    double seconds = 0;
    std::vector<std::string> calls;
    std::vector<Instant> pausedAt;
    std::vector<std::set<std::string>> filters;
    bool givesFile = true;
    std::function<Task<>()> beforeFilter;
    std::function<Task<>()> beforeEnd;

    std::optional<std::string> const& connectionId() const override { return start.connectionId; }
    Task<> updateFilter(std::set<std::string> excluded) override
    {
        filters.push_back(std::move(excluded));
        if (beforeFilter)
            co_await beforeFilter();
    }
    void pause(Instant at) override
    {
        calls.emplace_back("pause");
        pausedAt.push_back(at);
    }
    void resume() override { calls.emplace_back("resume"); }
    Task<double> recordedSeconds() override { co_return seconds; }
    Task<std::optional<FinishedRecording>> finish() override
    {
        calls.emplace_back("finish");
        if (beforeEnd)
            co_await beforeEnd();
        if (!givesFile)
            co_return std::nullopt;
        co_return FinishedRecording{start.file, start.connectionId, start.platformName, seconds};
    }
};

/// A recorder whose recordings are fakes, on the manual clock.
class RecorderHarness : public testing::Test {
public:
    RecorderHarness() { settings.setMode(RecordingMode::local); }

    SessionRecorder::Services services()
    {
        return {
            .contexts = contextsOn(io),
            .clock = clock,
            .settings = settings,
            .access = access,
            .folders = folders,
            .startWriter = [this](RecordingStart start) { return startWriter(std::move(start)); },
            .hiddenBundleIds = [this]() -> Task<std::set<std::string>> { co_return hidden; },
            .isPaused = [this] { return paused; },
            .onFinished = [this](FinishedRecording recording, bool quitting) -> Task<> {
                finished.emplace_back(recording.file.filename().string(), quitting);
                if (handingOn)
                    co_await handingOn();
            },
            .onCapturingChanged = [this](bool value) { capturing.push_back(value); },
            .log = [this](std::string line) { log.push_back(std::move(line)); },
        };
    }

    void act(std::optional<std::string> connectionId = "c", std::string platformName = "Acme")
    {
        run(io, recorder->agentActed(std::move(connectionId), std::move(platformName)));
    }
    void look() { run(io, recorder->agentLooked()); }
    void finish(bool quitting = false) { run(io, recorder->finishNow(quitting)); }
    /// Starts a task that may take time. The result becomes true at its end.
    std::shared_ptr<bool> begin(std::function<Task<>()> body)
    {
        auto ended = std::make_shared<bool>(false);
        spawn(io.get_executor(), [body = std::move(body), ended]() -> Task<> {
            co_await body();
            *ended = true;
        });
        settle(io);
        return ended;
    }
    std::shared_ptr<bool> beginAct(std::string connectionId = "c")
    {
        return begin([this, connectionId] { return recorder->agentActed(connectionId, "Acme"); });
    }
    FakeWriting& recording(std::size_t number = 0) { return *recordings.at(number); }
    std::size_t sleepers()
    {
        settle(io);
        return clock.sleeperCount();
    }

    asio::io_context io;
    ManualClock clock{&io};
    FakeUserDefaults defaults;
    RecordingSettings settings{defaults};
    FakeSystemAccess access;
    FakeVideoFolders folders;
    std::set<std::string> hidden;
    bool paused = false;
    std::vector<std::shared_ptr<FakeWriting>> recordings;
    std::function<Task<>()> beforeStart;
    std::function<Task<>()> handingOn;
    std::vector<std::pair<std::string, bool>> finished; ///< file name, quitting
    std::vector<bool> capturing;
    std::vector<std::string> log;
    std::shared_ptr<SessionRecorder> recorder = SessionRecorder::create(services());

private:
    Task<std::shared_ptr<RecordingOutput>> startWriter(RecordingStart start)
    {
        if (beforeStart)
            co_await beforeStart();
        folders.stored[start.file] = clock.date();
        recordings.push_back(std::make_shared<FakeWriting>(std::move(start)));
        co_return recordings.back();
    }
};

} // namespace zelvo
