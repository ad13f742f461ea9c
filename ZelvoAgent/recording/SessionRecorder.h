#pragma once

#include "base/AsyncCondition.h"
#include "base/AsyncMutex.h"
#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "platform/SystemAccess.h"
#include "platform/VideoFolders.h"
#include "recording/FinishedRecording.h"
#include "recording/RecordingOutput.h"
#include "recording/RecordingSettings.h"
#include "recording/SessionRecording.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace zelvo {

/// Decides when a recording starts, pauses, goes on and ends, by the agents' activity alone: an action starts
/// or wakes it, a look keeps it awake, 10 s without either pause it and 60 s more end it. Nothing here fails
/// towards an agent, and a recording is closed in the background. Thread: any; a strand of its own holds the
/// state. Made with create(), since its countdowns hold it weakly.
class SessionRecorder final : public SessionRecording, public std::enable_shared_from_this<SessionRecorder> {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        RecordingSettings const& settings;
        SystemAccess& access;
        VideoFolders& folders;
        StartRecording startWriter;
        /// The applications that the person has hidden; absent where there is no such list.
        std::function<Task<std::set<std::string>>()> hiddenBundleIds = {};
        /// Has the person paused the agents? Any thread; true before finishNow() is called for a pause.
        std::function<bool()> isPaused = {};
        /// Called after each finished recording, on the recorder's strand.
        std::function<Task<>(FinishedRecording recording, bool quitting)> onFinished = {};
        /// Called on the main executor, in order, at each change of isRecording().
        std::function<void(bool)> onCapturingChanged = {};
        /// Takes a line for the system's log; called on the recorder's strand.
        std::function<void(std::string line)> log = {};
    };

    /// An agent does not wait longer than this for a recording to begin. The recording begins behind its
    /// action then, and until it has, no action waits.
    static constexpr Duration maxHold = 2s;

    static std::shared_ptr<SessionRecorder> create(Services services);

    Task<> agentActed(std::optional<std::string> connectionId, std::string platformName) override;
    Task<> agentLooked() override;
    /// True from before a recording's file is made until after it is closed.
    bool hasOpenFile() const override { return openFile.get(); }
    /// Resumes when the recording is closed and was handed on. With quitting: when all recordings are, those
    /// too that were about to begin or end by themselves; none begins any more.
    Task<> finishNow(bool quitting) override;

    /// Are frames taken now? Does not wait.
    bool isRecording() const { return recording.get(); }

private:
    using WriterPtr = std::shared_ptr<RecordingOutput>;
    struct Begun {
        WriterPtr writer; ///< null when there is none
        std::set<std::string> excluded;
    };

    explicit SessionRecorder(Services services);

    bool mayRecord() const;
    void endHold(bool& isOver);
    void giveUpFor(std::optional<std::string> const& connectionId);
    Task<> act(std::optional<std::string> connectionId, std::string platformName);
    Task<> actAlone(std::optional<std::string> connectionId, std::string platformName);
    Task<bool> isToEnd(WriterPtr open, std::optional<std::string> connectionId);
    Task<> start(std::optional<std::string> connectionId, std::string platformName);
    Task<Begun> begin(RecordingStart request);
    Task<std::set<std::string>> excludedBundleIds();
    Task<> refreshFilterIfNeeded();
    void scheduleIdle();
    void pauseForIdle();
    void pauseIfOverdue();
    void stopCountdowns();
    WriterPtr takeWriter();
    void closeInBackground(WriterPtr closing);
    Task<> close(WriterPtr closing, bool quitting);
    Task<> finish(bool quitting);
    void setCapturing(bool value);
    void openedFile();
    void closedFile();

    Services const services;
    Executor const strand;
    LockedBox<bool> recording{false};
    LockedBox<bool> openFile{false};
    AsyncCondition holds;          ///< of actions that wait for the recorder
    LockedBox<bool> isLate{false}; ///< somebody's patience was over, and the work still goes on

    // All below: strand.
    WriterPtr writer; ///< the open recording
    bool capturing = false;
    TaskHandle idleTask;
    TaskHandle closeTask;
    std::uint64_t countdown = 0; ///< a countdown that was replaced has another number
    Instant idleDue;             ///< when the pause is due, while capturing
    std::set<std::string> excludedSnapshot;
    std::uint64_t finishes = 0; ///< what began before the last of them is no longer wanted
    bool isQuitting = false;
    AsyncMutex actions; ///< one after another, so that two do not start a recording each
    bool isActing = false;
    std::optional<std::string> actingFor; ///< the connection of the action that has the mutex
    int openFiles = 0;                    ///< of recordings that begin, run or are being closed
    AsyncCondition filesClosed;
};

} // namespace zelvo
