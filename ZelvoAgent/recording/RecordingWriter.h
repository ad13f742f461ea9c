#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "platform/ScreenStream.h"
#include "platform/VideoFile.h"
#include "recording/RecordingOutput.h"
#include "recording/RecordingPlan.h"

#include <memory>
#include <optional>

namespace zelvo {

/// One recording in the making: takes the frames of a screen stream and writes them at times from which the
/// pauses are cut out. Between two frames nothing moved; so that the recording of a screen that stands still
/// is as long as what it shows, the last picture is written once more where it stops. Thread: any; a strand
/// of the workers, the stream's queue, holds the state and encodes. Nobody but finish() waits for that.
class RecordingWriter final : public RecordingOutput,
                              public ScreenStreamOutput,
                              public std::enable_shared_from_this<RecordingWriter> {
public:
    struct Services {
        Executor workers;
        Clock& clock;
        ScreenSource& screen;
        ScreenStreams& streams;
        VideoFiles& videos;
    };

    /// Begins to recording the main display. Throws AgentError::permissionMissing when none may be captured,
    /// ScreenFailure or VideoFailure; then no file is left behind.
    static Task<std::shared_ptr<RecordingOutput>> start(Services services, RecordingStart start);
    /// The same as a function that a recorder is given. What the services name must outlive its recordings.
    static StartRecording starter(Services services);

    std::optional<std::string> const& connectionId() const override { return subject.connectionId; }
    Task<> updateFilter(std::set<std::string> excludedBundleIds) override;
    void pause(Instant at) override;
    void resume() override;
    Task<double> recordedSeconds() override;
    Task<std::optional<FinishedRecording>> finish() override;

    void frameArrived(ScreenFrame const& frame) override;
    void streamStopped(ScreenFailure const& failure) override;

private:
    using StreamPtr = std::shared_ptr<ScreenStream>;

    RecordingWriter(Services services, RecordingStart start);
    Task<> open();
    Task<std::optional<Display>> chosenDisplay();
    void setWanted(bool wanted);
    bool isFrame(ScreenFrame const& frame) const;
    void beginOrGoOnAt(Instant time);
    bool isDue(Instant adjusted) const;
    void wroteOrFailed(bool wrote, Instant adjusted);
    void standStillUntil(Instant time);
    std::optional<FinishedRecording> close();

    Services const services;
    RecordingStart const subject;
    Executor const queue;
    LockedBox<StreamPtr> stream; ///< absent once it was stopped
    LockedBox<double> recorded{0};

    // All below: queue.
    RecordingPlan::Size size;
    std::unique_ptr<VideoFile> video; ///< absent once it was closed
    bool capturing = true;            ///< frames are wanted
    bool failed = false;              ///< the stream has ended, or nothing more can be written
    bool resumed = false;             ///< the next frame is the first after a pause
    bool outdated = false;            ///< the last picture may show what is hidden by now
    std::optional<Instant> firstTime; ///< of the stream's first frame; the recording has begun
    std::optional<Instant> lastTime;  ///< adjusted time of the last frame that was written
    Duration offset{};                ///< all pauses so far
};

} // namespace zelvo
