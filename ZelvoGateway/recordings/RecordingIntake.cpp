#include "ZelvoGateway/recordings/RecordingIntake.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/recordings/FileWork.h"

#include <algorithm>

namespace zelvo::service {

namespace {

Failure unavailable(std::string message)
{
    return {.code = ErrorCode::recordingsUnavailable, .message = std::move(message)};
}

Failure notFound(std::string message)
{
    return {.code = ErrorCode::notFound, .message = std::move(message)};
}

void assertMayShare(StoredConnection const& connection)
{
    if (std::ranges::find(connection.scopes, AgentScope::record) == connection.scopes.end())
        throw Failure{.code = ErrorCode::scopeDenied,
                      .message = "The connection does not have the scope \"record\""};
}

} // namespace

RecordingIntake::RecordingIntake(Store& store,
                                 std::shared_ptr<RecordingFiles const> files,
                                 AuditLog& audit,
                                 Settings const& settings,
                                 Clock& clock,
                                 Executor workers)
    : store(store), files(std::move(files)), audit(audit), settings(settings), clock(clock),
      workers(std::move(workers))
{
}

StoredConnection RecordingIntake::connectionOf(StoredMachine const& machine, std::string const& id)
{
    auto connection = store.connection(id);
    if (!connection || connection->machineId != machine.id || connection->revokedAt)
        throw notFound("There is no such connection");
    return *std::move(connection);
}

void RecordingIntake::assertShared(StoredConnection const& connection)
{
    if (!store.isShared(connection.id))
        throw Failure{.code = ErrorCode::recordingNotShared,
                      .message = "The person does not share recordings with this connection"};
}

void RecordingIntake::assertRoom(StoredConnection const& connection,
                                 std::uint64_t bytes,
                                 std::uint64_t freeBytes)
{
    RecordingRules const& rules = settings.recordings;
    if (!rules.taken)
        throw unavailable("This gateway takes no recordings");
    if (bytes > rules.maxBytes)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The film is too large",
                      .kind = Failure::Kind::tooLarge};
    RecordingUse const use = store.recordingUse();
    if (use.bytes + bytes > rules.maxTotalBytes)
        throw unavailable("There are too many recordings here");
    if (freeBytes < rules.minFreeBytes + use.promised + bytes)
        throw unavailable("There is no room for the film");
    if (store.openUploads(connection.id) >= rules.maxOpenUploads)
        throw Failure{.code = ErrorCode::rateLimited, .message = "Too many films are on their way"};
}

StoredRecording RecordingIntake::newRecording(RecordingAnnouncement const& announcement) const
{
    Date const now = clock.date();
    return {.id = newId("rec"),
            .connectionId = announcement.connectionId,
            .sizeBytes = announcement.sizeBytes,
            .durationSec = announcement.durationSec,
            .createdAt = now,
            .deletesAt = now + dateSpan(settings.recordings.kept),
            .uploadUntil = now + dateSpan(settings.recordings.uploadAddress)};
}

Task<AnnouncedRecording> RecordingIntake::announce(StoredMachine machine, RecordingAnnouncement announcement)
{
    // Asked first: what follows has no wait in it, so two announcements can't take the same space.
    auto const ask = [this] { return files->freeBytes(); };
    std::uint64_t const freeBytes = co_await on(workers, ask);
    StoredConnection const connection = connectionOf(machine, announcement.connectionId);
    assertMayShare(connection);
    assertShared(connection);
    assertRoom(connection, announcement.sizeBytes, freeBytes);
    StoredRecording const recording = newRecording(announcement);
    std::string const secret = newSecret();
    store.addRecording(recording, secret);
    co_return AnnouncedRecording{.id = recording.id, .uploadSecret = secret};
}

StoredRecording RecordingIntake::awaited(std::string const& secret)
{
    auto recording = store.recordingOfUpload(secret);
    if (!recording || recording->stage != RecordingStage::open || recording->uploadUntil <= clock.date())
        throw notFound("This address is not known, was used already, or its time is over");
    return *std::move(recording);
}

std::shared_ptr<RecordingUpload> RecordingIntake::receive(StoredRecording const& recording)
{
    if (!settings.recordings.taken)
        throw unavailable("This gateway takes no recordings");
    if (!store.moveRecording(recording.id, RecordingStage::open, RecordingStage::receiving, clock.date()))
        throw notFound("This address was used already");
    auto upload = std::make_shared<RecordingUpload>(store, files, clock, workers, recording);
    std::erase_if(uploads, [](auto const& each) { return each.second.expired(); });
    uploads[recording.id] = upload;
    return upload;
}

Task<> RecordingIntake::complete(StoredMachine machine, std::string id)
{
    auto const recording = store.recording(id);
    auto const connection = recording ? store.connection(recording->connectionId) : std::nullopt;
    if (!connection || connection->machineId != machine.id || recording->stage == RecordingStage::deleted)
        throw notFound("There is no such recording");
    if (recording->stage == RecordingStage::ready)
        co_return;
    assertShared(connectionOf(machine, connection->id));
    auto const open = [this, &id] { return files->open(id); };
    std::shared_ptr<ByteSource const> file;
    if (recording->stage == RecordingStage::received)
        file = co_await fileWork(workers, open, "The film can't be checked now; try again later");
    bool const whole = file && file->size() == recording->sizeBytes;
    // The recording may have ended while the file was opened, or another call may have made it ready.
    RecordingStage const next = whole ? RecordingStage::ready : RecordingStage::ended;
    bool const moved = store.moveRecording(id, RecordingStage::received, next, clock.date());
    auto const now = moved ? std::nullopt : store.recording(id);
    if ((moved && whole) || (now && now->stage == RecordingStage::ready))
        co_return;
    throw Failure{.code = ErrorCode::invalidRequest,
                  .message = "The film has not come, or not whole",
                  .kind = Failure::Kind::incomplete};
}

Task<> RecordingIntake::share(StoredMachine machine, std::string connectionId, bool shared)
{
    StoredConnection const connection = connectionOf(machine, connectionId);
    if (shared)
        assertMayShare(connection);
    if (store.isShared(connection.id) != shared)
        audit.addFrom(records::Actor::endUser,
                      AuditEntry::of(connection, shared ? "recordings.shared" : "recordings.unshared"));
    store.setShared(connection.id, shared);
    if (!shared)
        co_await connectionEnded(connection.id);
}

Task<> RecordingIntake::connectionEnded(std::string connectionId)
{
    auto const ended = store.endUploads(connectionId, clock.date());
    for (std::string const& id : ended)
        if (auto const entry = uploads.find(id); entry != uploads.end())
            if (auto const upload = entry->second.lock())
                upload->withdraw();
    // What can't be removed now is removed by the next start.
    auto const remove = [this, &ended] { removeEach(*files, ended); };
    co_await on(workers, remove);
}

} // namespace zelvo::service
