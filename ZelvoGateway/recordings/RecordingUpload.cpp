#include "ZelvoGateway/recordings/RecordingUpload.h"

#include "ZelvoGateway/base/Failure.h"
#include "base/Hop.h"

#include <iostream>
#include <system_error>

namespace zelvo::service {

namespace {

/// Disk work on the workers. What is wrong with the disk is for the person who runs the gateway.
Task<> onDisk(Executor workers, std::function<void()> work)
{
    std::optional<std::string> problem;
    try {
        co_await on(workers, work);
    } catch (std::system_error const& error) {
        problem = error.what();
    }
    if (!problem)
        co_return;
    std::cerr << "zelvo-gateway: " << *problem << std::endl;
    throw Failure{.code = ErrorCode::recordingsUnavailable, .message = "The film can't be stored"};
}

} // namespace

RecordingUpload::RecordingUpload(Store& store,
                                 std::shared_ptr<RecordingFolder const> folder,
                                 Clock& clock,
                                 Executor workers,
                                 StoredRecording recording)
    : store(store), folder(std::move(folder)), clock(clock), workers(std::move(workers)),
      recording(std::move(recording))
{
}

RecordingUpload::~RecordingUpload()
{
    draft.reset();
    if (!ended)
        endInStore();
}

void RecordingUpload::endInStore() noexcept
{
    try {
        // Its first date: the clock may be gone when a server ends with uploads under way.
        store.moveRecording(recording.id, RecordingStage::receiving, RecordingStage::ended,
                            recording.createdAt);
    } catch (std::exception const& error) { // It is ended at the next start.
        std::cerr << "zelvo-gateway: " << error.what() << std::endl;
    }
}

void RecordingUpload::assertWanted() const
{
    if (withdrawn)
        throw Failure{.code = ErrorCode::recordingNotShared,
                      .message = "The person does not share recordings with this connection any more"};
}

Task<> RecordingUpload::take(std::string_view piece)
{
    assertWanted();
    if (piece.size() > recording.sizeBytes - taken)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The film is larger than it was announced",
                      .status = 413};
    auto const write = [this, piece] {
        if (!draft)
            draft = folder->draft(recording.id, recording.sizeBytes);
        draft->write(piece);
    };
    co_await onDisk(workers, write);
    taken += piece.size();
}

Task<HttpResponse> RecordingUpload::finish()
{
    assertWanted();
    if (taken != recording.sizeBytes)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The film is smaller than it was announced",
                      .status = 400};
    auto const keep = [this] { draft->keep(); };
    co_await onDisk(workers, keep);
    ended = true;
    // Asked again, since the person may have said no meanwhile.
    if (!store.moveRecording(recording.id, RecordingStage::receiving, RecordingStage::received,
                             clock.date())) {
        folder->remove(recording.id);
        withdraw();
        assertWanted();
    }
    co_return jsonResponse(200, json::object{{"recordingId", recording.id}});
}

} // namespace zelvo::service
