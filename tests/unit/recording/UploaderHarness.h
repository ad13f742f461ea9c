#pragma once

#include "base/LocalizedTexts.h"
#include "recording/RecordingUploader.h"
#include "unit/recording/ConnectionsHarness.h"
#include "unit/system/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// An uploader on a machine in memory. The person shares recordings with the connection "c1".
class UploaderHarness : public ConnectionsHarness {
protected:
    UploaderHarness()
    {
        zelvo::run(platform.io, keychain.set("mt_1", Keychain::Item::machineToken));
        settings.setMode(RecordingMode::share);
        grant("c1", "Acme");
        state.setShareRecordings(true, "c1");
    }

    /// Ends all waiting tasks while everything they reference is still alive.
    void TearDown() override
    {
        platform.loading.fail(NetworkFailure::Kind::cancelled);
        settle();
    }

    /// Creates a recording on disk.
    FinishedRecording recording(std::string name, std::optional<std::string> connectionId = "c1") const
    {
        std::filesystem::path const file = folder.path / name;
        writeFile(file, "recording " + name);
        return {.file = file,
                .connectionId = std::move(connectionId),
                .platformName = "Acme",
                .durationSec = 12.5};
    }
    /// Adds a recording to the stored queue, as an earlier run would have left it.
    std::string enqueue(std::string name, std::int64_t attempts = 0, std::string connectionId = "c1")
    {
        std::string const path = recording(std::move(name)).file;
        queue.append({.path = path,
                      .connectionId = std::move(connectionId),
                      .durationSec = 12.5,
                      .attempts = attempts});
        return path;
    }
    std::vector<std::string> queued() const
    {
        std::vector<std::string> names;
        for (PendingRecording const& entry : queue.load())
            names.push_back(std::filesystem::path(entry.path).filename().string() + ":" +
                            std::to_string(entry.attempts));
        return names;
    }

    void handle(FinishedRecording finished, bool quitting = false)
    {
        spawn(platform.contexts.agent, [this, finished, quitting]() -> Task<> {
            co_await uploader.handle(finished, quitting);
            ++handled;
        });
        platform.settle();
    }
    void drain()
    {
        spawn(platform.contexts.agent, [this]() -> Task<> {
            co_await uploader.drain();
            ++drained;
        });
        platform.settle();
    }
    void settle() { platform.settle(); }

    void announced(std::string recordingId = "r1")
    {
        platform.loading.answer(200, R"({"recordingId":")" + recordingId +
                                         R"(","uploadUrl":"https://store.test/)" + recordingId + R"("})");
    }
    /// Answers all three steps of one upload with success.
    void accepted(std::string recordingId = "r1")
    {
        announced(std::move(recordingId));
        platform.loading.answer(200, "");
        platform.loading.answer(200, "{}");
    }

    /// The last path components of the calls to the service.
    std::vector<std::string> calls() const
    {
        std::vector<std::string> names;
        for (HttpRequest const& request : platform.loading.requests)
            names.push_back(request.url.substr(request.url.rfind('/') + 1));
        return names;
    }
    json::object bodyOf(std::size_t request) const
    {
        return parseJson(platform.loading.requests.at(request).body)->as_object();
    }
    std::string keptLocal(std::string const& reason) const
    {
        return localized("recording.keptLocal", {explain(reason)});
    }
    /// Expects one log entry: the recording stays here, and why.
    void expectKeptLocal(std::string const& reason)
    {
        ASSERT_THAT(lines(), testing::SizeIs(1));
        EXPECT_EQ(lines()[0].summary, keptLocal(reason));
        EXPECT_EQ(lines()[0].platformName, localized("activity.app"));
        EXPECT_EQ(lines()[0].connectionId, std::nullopt);
        EXPECT_THAT(queued(), testing::IsEmpty());
    }

    TemporaryFolder folder;
    Keychain keychain{platform.secretStore};
    RecordingSettings settings{platform.settings};
    RecordingUploadQueue queue{platform.settings};
    std::vector<std::string> asked;
    std::function<Task<bool>()> answerToAsk = []() -> Task<bool> { co_return true; };
    int handled = 0;
    int drained = 0;
    RecordingUploader uploader{{.contexts = platform.contexts,
                                .clock = platform.time,
                                .http = platform.loading,
                                .keychain = keychain,
                                .defaults = platform.settings,
                                .state = state,
                                .httpBase = "https://gateway.test",
                                .appVersion = "1.4",
                                .ask = [this](std::string connectionId) -> Task<bool> {
                                    asked.push_back(std::move(connectionId));
                                    co_return co_await answerToAsk();
                                }}};
};

} // namespace zelvo
