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

/// Hands finished recordings over to the connections that caused them, where the person allows it: keeps a
/// stored queue of them and sends one at a time, each in three steps. A recording stays on the machine
/// whatever comes of it, and is given up after five tries.
///
/// A recording whose right to go was taken away while it waited, or on its way, stays here for good.
///
/// Thread: any; a strand of its own on the agent thread.
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

    /// Takes a recording that has just been closed. Resumes when all that can be done about it now is done.
    /// quitting  the process ends: nobody is asked and nothing is sent; what may be sent waits
    Task<> handle(FinishedRecording finished, bool quitting);
    /// Tries each recording of the queue once. One runs at a time; a call that comes meanwhile makes that one
    /// begin again at its end.
    Task<> drain();
    /// Tells the service whether a connection's recordings are shared; true when it agreed.
    Task<bool> sendSharing(std::string connectionId, bool shared);

    /// Thread: any. Nothing while no recording goes out.
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
