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

/// The recording state that windows and menus show, and the person's changes to it. Thread: main.
class RecordingState {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        RecordingSettings& settings;
        RecordingRetention& retention; ///< this and the next two outlive all tasks on the workers
        VideoFolders& folders;
        FileReveal& reveal;
        std::function<Task<>()>
            finishRecording;                ///< closes the running recording; started on the main executor
        std::function<void()> askUndecided; ///< asks about sharing for every undecided connection
    };

    explicit RecordingState(Services services);
    RecordingState(RecordingState const&) = delete;
    RecordingState& operator=(RecordingState const&) = delete;

    /// Emitted after every change of the values below.
    boost::signals2::signal<void()> changed;

    bool isRecording() const { return recording; }
    RecordingMode mode() const { return chosenMode; }
    std::int64_t retentionDays() const { return days; }

    /// Called by the recorder.
    void setRecording(bool value);
    /// Always stores the mode. If it differs from the one shown or stored before, `off` closes a running
    /// recording, and `share` asks about the undecided connections.
    void setMode(RecordingMode value);
    /// Stores the retention period and deletes older recordings at once.
    /// value  one of RecordingSettings::retentionChoices
    void setRetentionDays(std::int64_t value);
    /// Shows the folder of the recordings in the file manager; creates it if it is missing.
    void showInFinder();

private:
    Services services;
    bool recording = false;
    RecordingMode chosenMode;
    std::int64_t days;
};

} // namespace zelvo
