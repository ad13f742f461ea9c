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

/// Decides from the agents' activity when a recording starts, pauses, resumes and ends. An action starts or
/// resumes it; an action or a screenshot keeps it running. After 10 s without either it pauses, and after 60
/// s more it ends. A failure of the recorder never reaches an agent. Recordings are closed in the background.
/// Thread: any; the state lives on a dedicated strand. Create with create(), because its countdowns hold weak
/// pointers to it.
class SessionRecorder final : public SessionRecording, public std::enable_shared_from_this<SessionRecorder> {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        RecordingSettings const& settings;
        SystemAccess& access;
        VideoFolders& folders;
        StartRecording startWriter;
        /// Returns the hidden applications; unset if there is no such list.
        std::function<Task<std::set<std::string>>()> hiddenBundleIds = {};
        /// True if the person has paused the agents; already true when a pause calls finishNow(). Any thread.
        std::function<bool()> isPaused = {};
        /// Called after each finished recording, on the recorder's strand.
        std::function<Task<>(FinishedRecording recording, bool quitting)> onFinished = {};
        /// Called on the main executor, in order, after each change of isRecording().
        std::function<void(bool)> onCapturingChanged = {};
        /// Writes a line to the system log; called on the recorder's strand.
        std::function<void(std::string line)> log = {};
    };

    /// How long an action waits at most for a recording to start. After that the recording starts during the
    /// action, and until it has started, no further action waits.
    static constexpr Duration maxHold = 2s;

    static std::shared_ptr<SessionRecorder> create(Services services);

    Task<> agentActed(std::optional<std::string> connectionId, std::string platformName) override;
    Task<> agentLooked() override;
    /// True from before a recording's file is created until after it is closed.
    bool hasOpenFile() const override { return openFile.get(); }
    /// Resumes when the recording is closed and onFinished has returned. With `quitting` it waits for all
    /// recordings, including those that are just starting or ending, and no new one starts.
    Task<> finishNow(bool quitting) override;
    Task<> untilClosed() override;

    /// True while frames are recorded. Does not wait.
    bool isRecording() const { return recording.get(); }

private:
    using WriterPtr = std::shared_ptr<RecordingOutput>;
    struct Begun {
        WriterPtr writer; ///< null if the recording did not start
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
    Task<> untilClosedOnStrand();
    void setCapturing(bool value);
    void openedFile();
    void closedFile();

    Services const services;
    Executor const strand;
    LockedBox<bool> recording{false};
    LockedBox<bool> openFile{false};
    AsyncCondition holds;          ///< actions that wait for a recording to start
    LockedBox<bool> isLate{false}; ///< an action has waited for maxHold and the recording has not started yet

    // All fields below: strand.
    WriterPtr writer; ///< the open recording
    bool capturing = false;
    TaskHandle idleTask;
    TaskHandle closeTask;
    std::uint64_t countdown = 0; ///< number of the current countdown; older ones do nothing
    Instant idleDue;             ///< when the pause is due; valid while capturing
    std::set<std::string> excludedSnapshot;
    std::uint64_t finishes = 0; ///< number of requests to finish; a start from before the last one is dropped
    bool isQuitting = false;
    AsyncMutex actions; ///< one after another, so that two do not start a recording each
    bool isActing = false;
    std::optional<std::string> actingFor; ///< the connection of the action that has the mutex
    int openFiles = 0;                    ///< of recordings that begin, run or are being closed
    AsyncCondition filesClosed;
};

} // namespace zelvo
