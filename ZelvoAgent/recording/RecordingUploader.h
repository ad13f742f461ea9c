#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "gateway/Keychain.h"
#include "platform/HttpLoading.h"
#include "platform/UserDefaults.h"
#include "recording/FinishedRecording.h"
#include "recording/RecordingService.h"
#include "recording/RecordingSettings.h"
#include "recording/RecordingTransfer.h"
#include "recording/RecordingUploadOutcome.h"
#include "recording/RecordingUploadQueue.h"
#include "state/AgentState.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Uploads finished recordings to the connections that caused them, if the person allows it. Keeps a stored
/// queue and uploads one recording at a time. Gives up after five failed attempts. Every recording also stays
/// on this machine, whatever the outcome.
///
/// A recording leaves the queue for good when its connection loses the right to it. While the mode is not
/// `share` the queue waits.
///
/// Thread: any; has a dedicated strand on the agent thread.
class RecordingUploader {
public:
    using Pending = PendingRecording;

    struct Services {
        Contexts contexts;
        Clock& clock;
        HttpLoading& http;
        Keychain& keychain;
        UserDefaults& defaults;
        AgentState& state;    ///< must have restored its connections before the first drain
        std::string httpBase; ///< the HTTP form of the gateway's address
        std::string appVersion;
        /// RecordingSharing::ask; called on the main thread.
        std::function<Task<bool>(std::string connectionId)> ask;
    };

    explicit RecordingUploader(Services services);
    RecordingUploader(RecordingUploader const&) = delete;
    RecordingUploader& operator=(RecordingUploader const&) = delete;

    /// Takes a recording that has just been closed. Resumes after the question and the upload, if any.
    /// quitting  the process ends: do not ask or upload; a recording that may be uploaded is only queued
    Task<> handle(FinishedRecording finished, bool quitting);
    /// Tries to upload each queued recording once. If a drain is already running, it starts again at its end
    /// and this call returns at once.
    Task<> drain();
    /// Reports to the service whether a connection's recordings are shared; true if the service accepts.
    Task<bool> sendSharing(std::string connectionId, bool shared);

    /// `nullopt` if no upload runs. Thread: any.
    std::optional<RecordingUploadProgress> progress() const { return transfer.progress(); }

private:
    Task<> handleOnStrand(FinishedRecording finished, bool quitting);
    Task<bool> askOnMain(std::string connectionId);
    Task<> drainOnStrand();
    Task<bool> send(std::vector<Pending> items);
    Task<std::optional<RecordingUploadOutcome>> attempt(Pending entry);
    Task<> settle(Pending entry, RecordingUploadOutcome outcome);
    Task<> logUploaded(std::string connectionId);
    Task<> logKeptLocal(std::string reason);

    Services services;
    Executor strand;
    RecordingSettings settings;
    RecordingService service;
    RecordingTransfer transfer; // strand
    RecordingUploadQueue queue; // strand
    bool draining = false;      // strand
    bool drainAgain = false;    // strand
};

} // namespace zelvo
