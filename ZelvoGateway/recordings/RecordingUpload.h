#pragma once

#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <memory>
#include <string_view>

namespace zelvo::service {

/// The upload of one recording. Destroying it before finish() ends the recording and leaves no file.
/// Thread: the server's; files are written on the workers. Errors: Failure.
class RecordingUpload {
public:
    /// The recording's stage must be `receiving`. The store outlives this.
    RecordingUpload(Store& store,
                    std::shared_ptr<RecordingFiles const> files,
                    Clock& clock,
                    Executor workers,
                    StoredRecording recording);
    RecordingUpload(RecordingUpload const&) = delete;
    RecordingUpload& operator=(RecordingUpload const&) = delete;
    ~RecordingUpload();

    /// Takes the next piece, which must live until this returns.
    Task<> take(std::string_view piece);
    /// Every piece was taken. Returns the recording's id.
    Task<std::string> finish();
    /// Refuses everything from now on: the person no longer shares recordings, or the connection has ended.
    void withdraw() { withdrawn = true; }

private:
    void assertWanted() const;
    void endInStore() noexcept;

    Store& store;
    std::shared_ptr<RecordingFiles const> files;
    Clock& clock;
    Executor workers;
    StoredRecording const recording;
    std::unique_ptr<RecordingDraft> draft; // Made with the first piece.
    std::uint64_t taken = 0;
    bool withdrawn = false;
    bool ended = false; // The store knows, one way or the other.
};

} // namespace zelvo::service
