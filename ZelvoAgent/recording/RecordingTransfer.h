#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "platform/HttpLoading.h"
#include "recording/RecordingService.h"
#include "recording/RecordingSettings.h"
#include "recording/RecordingUploadOutcome.h"
#include "recording/RecordingUploadQueue.h"
#include "state/AgentState.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// The progress of the running upload.
struct RecordingUploadProgress {
    std::string path;
    std::string connectionId;
    std::int64_t sentBytes = 0;
    std::int64_t totalBytes = 0;
    bool operator==(RecordingUploadProgress const&) const = default;
};

/// Uploads one recording to the connection that caused it, in three steps: announces it to the service, sends
/// it to the address that the service returns, and reports it complete.
///
/// The right to do so is checked before each step and every second during the upload: without it the
/// recording stays on the machine for good. While the mode is not `share` the recording is postponed. Thread:
/// the strand of its uploader, except progress().
class RecordingTransfer {
public:
    struct Services {
        Contexts contexts;
        Executor strand;
        Clock& clock;
        HttpLoading& http;
        AgentState& state;
        RecordingSettings const& settings;
        RecordingService& service;
    };

    explicit RecordingTransfer(Services services) : services(std::move(services)) {}
    RecordingTransfer(RecordingTransfer const&) = delete;
    RecordingTransfer& operator=(RecordingTransfer const&) = delete;

    /// One recording at a time. Throws NetworkFailure of kind `cancelled` when the process ends.
    Task<RecordingUploadOutcome> upload(PendingRecording entry);
    /// `nullopt` if no upload runs. Thread: any.
    std::optional<RecordingUploadProgress> progress() const { return progressBox->get(); }

private:
    using ProgressBox = LockedBox<std::optional<RecordingUploadProgress>>;
    struct Watch;
    struct Announced {
        RecordingUploadOutcome outcome;
        RecordingUploadTarget target; ///< valid if the outcome is `done`
        std::string peer = {};        ///< from where the gateway answered
    };

    Task<Announced> announce(PendingRecording entry, std::int64_t bytes);
    Task<RecordingUploadOutcome> put(PendingRecording entry, std::int64_t bytes, Announced announced);
    Task<RecordingUploadOutcome> complete(std::string recordingId);
    HttpUpload uploadOf(PendingRecording const& entry,
                        std::int64_t bytes,
                        Announced announced,
                        std::shared_ptr<Watch const> watch) const;
    Task<> watchRight(std::string connectionId, std::shared_ptr<Watch> watch);
    Task<std::optional<RecordingUploadOutcome>> obstacle(std::string connectionId);

    Services services;
    std::shared_ptr<ProgressBox> progressBox = std::make_shared<ProgressBox>(); // Calls may outlive this.
};

} // namespace zelvo
