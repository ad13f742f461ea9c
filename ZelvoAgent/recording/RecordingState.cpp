#include "recording/RecordingState.h"

#include "recording/RecordingFolder.h"

namespace zelvo {

RecordingState::RecordingState(Services services)
    : services(std::move(services)), chosenMode(this->services.settings.mode()),
      days(this->services.settings.retentionDays())
{
}

void RecordingState::setRecording(bool value)
{
    if (recording == value)
        return;
    recording = value;
    changed();
}

void RecordingState::setMode(RecordingMode value)
{
    // Another program may have changed the file since; the recorder goes by the file.
    bool const differs = chosenMode != value || services.settings.mode() != value;
    chosenMode = value;
    services.settings.setMode(value);
    if (!differs)
        return;
    if (value == RecordingMode::off && services.finishRecording)
        spawn(services.contexts.main, services.finishRecording);
    if (value == RecordingMode::share && services.askUndecided)
        services.askUndecided();
    changed();
}

void RecordingState::setRetentionDays(std::int64_t value)
{
    services.settings.setRetentionDays(value);
    days = services.settings.retentionDays();
    spawn(services.contexts.workers,
          [&retention = services.retention, now = services.clock.date()]() -> Task<> {
              retention.purge(now);
              co_return;
          });
    changed();
}

void RecordingState::showInFinder()
{
    spawn(services.contexts.workers, [&folders = services.folders, &reveal = services.reveal]() -> Task<> {
        std::filesystem::path folder = recordingFolder(folders);
        try {
            folders.make(folder);
        } catch (FileFailure const&) { // The file manager reports a missing folder.
        }
        reveal.reveal(std::move(folder));
        co_return;
    });
}

} // namespace zelvo
