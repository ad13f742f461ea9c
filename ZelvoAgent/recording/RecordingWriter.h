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

/// One running recording: writes the frames of a screen stream with the pauses cut out of their times. The
/// stream sends a frame only when something has changed. Therefore the last picture is written again where
/// the recording stops, so that the recording covers the whole time. Thread: any; the stream's queue, a
/// strand on the workers, holds the state and encodes. Only finish() waits for that strand.
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

    /// Starts to record the main display. Throws AgentError::permissionMissing if no display may be captured,
    /// ScreenFailure or VideoFailure. On failure no file is left behind.
    static Task<std::shared_ptr<RecordingOutput>> start(Services services, RecordingStart start);
    /// start() as a function for a recorder. The services must outlive its recordings.
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
    LockedBox<StreamPtr> stream; ///< null after it was stopped
    LockedBox<double> recorded{0};

    // All fields below: queue.
    RecordingPlan::Size size;
    std::unique_ptr<VideoFile> video; ///< null after it was closed
    bool capturing = true;            ///< frames are wanted
    bool failed = false;              ///< the stream has ended, or writing failed
    bool resumed = false;             ///< the next frame is the first after a pause
    bool outdated = false;            ///< the last picture may show an application that is hidden now
    std::optional<Instant> firstTime; ///< time of the stream's first frame
    std::optional<Instant> lastTime;  ///< adjusted time of the last written frame
    Duration offset{};                ///< sum of all pauses so far
};

} // namespace zelvo
