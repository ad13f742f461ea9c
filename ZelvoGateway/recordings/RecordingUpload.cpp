#include "ZelvoGateway/recordings/RecordingUpload.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/recordings/FileWork.h"

namespace zelvo::service {

namespace {

constexpr char const* notStored = "The film can't be stored";

} // namespace

RecordingUpload::RecordingUpload(Store& store,
                                 std::shared_ptr<RecordingFiles const> files,
                                 Clock& clock,
                                 Executor workers,
                                 StoredRecording recording)
    : store(store), files(std::move(files)), clock(clock), workers(std::move(workers)),
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
        // With its first date: a server that stops during an upload may have no clock any more.
        store.moveRecording(recording.id, RecordingStage::receiving, RecordingStage::ended,
                            recording.createdAt);
    } catch (std::exception const& error) { // The next start ends it.
        Log::error(error.what());
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
                      .kind = Failure::Kind::tooLarge};
    auto const write = [this, piece] {
        if (!draft)
            draft = files->draft(recording.id, recording.sizeBytes);
        draft->write(piece);
    };
    co_await fileWork(workers, write, notStored);
    taken += piece.size();
}

Task<std::string> RecordingUpload::finish()
{
    assertWanted();
    if (taken != recording.sizeBytes)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The film is smaller than it was announced"};
    auto const keep = [this] { draft->keep(); };
    co_await fileWork(workers, keep, notStored);
    ended = true;
    // The person may have said no while the file was written.
    if (!store.moveRecording(recording.id, RecordingStage::receiving, RecordingStage::received,
                             clock.date())) {
        auto const remove = [this] { files->remove(recording.id); };
        co_await fileWork(workers, remove, notStored);
        withdraw();
        assertWanted();
    }
    co_return recording.id;
}

} // namespace zelvo::service
