#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/FileReveal.h"
#include "platform/VideoFolders.h"
#include "recording/RecordingRetention.h"
#include "recording/RecordingSettings.h"

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <functional>

namespace zelvo {

/// What windows and menus show of recording, and where the person changes it. Thread: main.
class RecordingState {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        RecordingSettings& settings;
        RecordingRetention& retention; ///< these three outlive all tasks on the workers
        VideoFolders& folders;
        FileReveal& reveal;
        std::function<Task<>()>
            finishRecording;                ///< closes the recording that runs; started on the main executor
        std::function<void()> askUndecided; ///< puts the question of sharing where it was not answered yet
    };

    explicit RecordingState(Services services);
    RecordingState(RecordingState const&) = delete;
    RecordingState& operator=(RecordingState const&) = delete;

    /// Emitted after every change of what is read below.
    boost::signals2::signal<void()> changed;

    bool isRecording() const { return recording; }
    RecordingMode mode() const { return chosenMode; }
    std::int64_t retentionDays() const { return days; }

    /// Told by the recorder.
    void setRecording(bool value);
    /// Off closes a recording that runs; share puts the questions that are open.
    void setMode(RecordingMode value);
    /// Removes at once what is too old by then. value: one of RecordingSettings::retentionChoices
    void setRetentionDays(std::int64_t value);
    /// Shows the folder of the recordings in the file manager; makes it where it is missing.
    void showInFinder();

private:
    Services services;
    bool recording = false;
    RecordingMode chosenMode;
    std::int64_t days;
};

} // namespace zelvo
