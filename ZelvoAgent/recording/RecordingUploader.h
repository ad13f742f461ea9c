#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "gateway/Keychain.h"
#include "platform/HttpLoading.h"
#include "platform/UserDefaults.h"
#include "recording/FinishedRecording.h"
#include "recording/RecordingService.h"
#include "recording/RecordingSettings.h"
#include "recording/RecordingUploadOutcome.h"
#include "recording/RecordingUploadQueue.h"
#include "state/AgentState.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The film that is going out now.
struct RecordingUploadProgress {
    std::string path;
    std::string connectionId;
    std::int64_t sentBytes = 0;
    std::int64_t totalBytes = 0;
    bool operator==(RecordingUploadProgress const&) const = default;
};

/// Hands finished films over to the connections that caused them, where the person allows it: keeps a stored
/// queue of them and sends one at a time, each in three steps. A film stays on the machine whatever comes of
/// it, and is given up after five tries.
///
/// The right to hand a film over is asked for again before each step, and every second while it goes out:
/// where it was taken away the film stays here for good.
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

    /// Takes a film that has just been closed. Resumes when all that can be done about it now is done.
    /// quitting  the process ends: nobody is asked and nothing is sent; what may be sent waits
    Task<> handle(FinishedRecording finished, bool quitting);
    /// Tries each film of the queue once. One runs at a time; a call that comes meanwhile makes that one
    /// begin again at its end.
    Task<> drain();
    /// Tells the service whether a connection's films are shared; true when it agreed.
    Task<bool> sendSharing(std::string connectionId, bool shared);

    /// Thread: any. Nothing while no film goes out.
    std::optional<RecordingUploadProgress> progress() const { return progressBox->get(); }

private:
    using ProgressBox = LockedBox<std::optional<RecordingUploadProgress>>;
    struct Watch;
    struct Announced {
        RecordingUploadOutcome outcome;
        RecordingUploadTarget target; ///< when it is done
    };

    Task<> handleOnStrand(FinishedRecording finished, bool quitting);
    Task<bool> askOnMain(std::string connectionId);
    Task<> drainOnStrand();
    Task<bool> send(std::vector<Pending> items);
    Task<std::optional<RecordingUploadOutcome>> attempt(Pending entry);
    Task<> settle(Pending entry, RecordingUploadOutcome outcome);
    Task<> logUploaded(std::string connectionId);
    Task<> logKeptLocal(std::string reason);

    Task<RecordingUploadOutcome> upload(Pending entry);
    Task<Announced> announce(Pending entry, std::int64_t bytes);
    Task<RecordingUploadOutcome> put(Pending entry, std::int64_t bytes, std::string url);
    Task<RecordingUploadOutcome> complete(std::string recordingId);
    HttpUpload uploadOf(Pending const& entry,
                        std::int64_t bytes,
                        std::string url,
                        std::shared_ptr<Watch const> watch) const;
    Task<> watchRight(std::string connectionId, std::shared_ptr<Watch> watch);
    Task<std::optional<std::string>> refusal(std::string connectionId);

    Services services;
    Executor strand;
    RecordingSettings settings;
    RecordingService service;
    RecordingUploadQueue queue;                                                 // strand
    bool draining = false;                                                      // strand
    bool drainAgain = false;                                                    // strand
    std::shared_ptr<ProgressBox> progressBox = std::make_shared<ProgressBox>(); // Transfers may outlive this.
};

} // namespace zelvo
