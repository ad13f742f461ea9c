#pragma once

#include "ZelvoGateway/http/BodySink.h"
#include "ZelvoGateway/recordings/RecordingFolder.h"
#include "ZelvoGateway/store/Store.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// A film whose body is coming. One that breaks off ends the film and leaves no file.
/// Thread: the server's; the disk is written on the workers. Errors: Failure.
class RecordingUpload final : public BodySink {
public:
    /// The film's stage must be `receiving`. The store outlives this.
    RecordingUpload(Store& store,
                    std::shared_ptr<RecordingFolder const> folder,
                    Clock& clock,
                    Executor workers,
                    StoredRecording recording);
    RecordingUpload(RecordingUpload const&) = delete;
    RecordingUpload& operator=(RecordingUpload const&) = delete;
    ~RecordingUpload() override;

    Task<> take(std::string_view piece) override;
    Task<HttpResponse> finish() override;
    /// Takes no more: the person does not share films any more, or the connection ended.
    void withdraw() { withdrawn = true; }

private:
    void assertWanted() const;
    void endInStore() noexcept;

    Store& store;
    std::shared_ptr<RecordingFolder const> folder;
    Clock& clock;
    Executor workers;
    StoredRecording const recording;
    std::unique_ptr<RecordingDraft> draft; // Made with the first piece.
    std::uint64_t taken = 0;
    bool withdrawn = false;
    bool ended = false; // In the store, one way or the other.
};

} // namespace zelvo::service
