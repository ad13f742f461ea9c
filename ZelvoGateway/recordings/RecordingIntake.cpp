#include "ZelvoGateway/recordings/RecordingIntake.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/recordings/RecordingUpload.h"
#include "base/Hop.h"
#include "base/Text.h"

#include <algorithm>
#include <charconv>

namespace zelvo::service {

namespace {

constexpr double maxSeconds = 86400; // Seconds.
constexpr std::string_view recordingType = "video/mp4";

Failure invalid(std::string message, int status = 400)
{
    return {.code = ErrorCode::invalidRequest, .message = std::move(message), .status = status};
}

std::string requiredText(json::object const& request, char const* key)
{
    auto const text = read::text(request, key);
    if (!text || text->empty())
        throw invalid("\"" + std::string(key) + "\" must be a text that is not empty");
    return *text;
}

double durationOf(json::object const& request)
{
    auto const seconds = read::number(request, "durationSec");
    if (!seconds || *seconds < 0 || *seconds > maxSeconds)
        throw invalid("\"durationSec\" must be a number from 0 to 86400");
    return *seconds;
}

std::uint64_t sizeOf(json::object const& request)
{
    auto const bytes = read::integer(request, "sizeBytes");
    if (!bytes || *bytes < 1)
        throw invalid("\"sizeBytes\" must be an integer of at least 1");
    return static_cast<std::uint64_t>(*bytes);
}

Failure unavailable(std::string message)
{
    return {.code = ErrorCode::recordingsUnavailable, .message = std::move(message)};
}

/// What the head of an upload says of its body: the announced size and type, and nothing else.
void assertAnnounced(HttpRequest const& head, std::uint64_t bytes)
{
    if (!text::equalIgnoringCase(head.header("content-type"), recordingType))
        throw invalid("A film is sent as video/mp4", 415);
    std::string const told = head.header("content-length");
    if (told.empty())
        throw invalid("The length of a film must be told", 411);
    std::uint64_t length = 0;
    auto const read = std::from_chars(told.data(), told.data() + told.size(), length);
    if (read.ec != std::errc() || read.ptr != told.data() + told.size() || length != bytes)
        throw invalid("The film does not have the size that was announced", length > bytes ? 413 : 400);
}

} // namespace

RecordingIntake::RecordingIntake(Store& store,
                                 std::shared_ptr<RecordingFolder const> folder,
                                 Settings const& settings,
                                 Clock& clock,
                                 Executor workers)
    : store(store), folder(std::move(folder)), settings(settings), clock(clock), workers(std::move(workers))
{
}

RecordingIntake::~RecordingIntake() = default;

StoredConnection RecordingIntake::connectionOf(StoredMachine const& machine, std::string const& id)
{
    auto connection = store.connection(id);
    if (!connection || connection->machineId != machine.id || connection->revokedAt)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
    return *std::move(connection);
}

void RecordingIntake::assertMayShare(StoredConnection const& connection)
{
    if (std::ranges::find(connection.scopes, AgentScope::record) == connection.scopes.end())
        throw Failure{.code = ErrorCode::scopeDenied,
                      .message = "The connection does not have the scope \"record\""};
}

void RecordingIntake::assertRoom(StoredConnection const& connection, std::uint64_t bytes)
{
    RecordingRules const& rules = settings.recordings;
    if (!rules.taken)
        throw unavailable("This gateway takes no recordings");
    if (bytes > rules.largest)
        throw invalid("The film is too large", 413);
    RecordingUse const use = store.recordingUse();
    if (use.bytes + bytes > rules.allTogether)
        throw unavailable("There are too many recordings here");
    if (folder->room() < rules.spareDisk + use.promised + bytes)
        throw unavailable("There is no room for the film");
    if (store.openUploads(connection.id) >= rules.openUploads)
        throw Failure{.code = ErrorCode::rateLimited, .message = "Too many films are on their way"};
}

json::object RecordingIntake::announce(StoredMachine const& machine,
                                       json::object const& request,
                                       std::string const& address)
{
    std::string const connectionId = requiredText(request, "connectionId");
    double const duration = durationOf(request);
    std::uint64_t const bytes = sizeOf(request);
    StoredConnection const connection = connectionOf(machine, connectionId);
    assertMayShare(connection);
    if (!store.isShared(connection.id))
        throw Failure{.code = ErrorCode::recordingNotShared,
                      .message = "The person does not share recordings with this connection"};
    assertRoom(connection, bytes);

    auto const later = [now = clock.date()](Duration time) {
        return now + std::chrono::duration_cast<std::chrono::microseconds>(time);
    };
    StoredRecording const recording{.id = newId("rec"),
                                    .connectionId = connection.id,
                                    .sizeBytes = bytes,
                                    .durationSec = duration,
                                    .createdAt = later({}),
                                    .deletesAt = later(settings.recordings.kept),
                                    .uploadUntil = later(settings.recordings.uploadAddress)};
    std::string const secret = newSecret();
    store.addRecording(recording, secret);
    return {{"recordingId", recording.id}, {"uploadUrl", address + "/uploads/" + secret}};
}

std::shared_ptr<BodySink> RecordingIntake::receive(std::string const& secret, HttpRequest const& head)
{
    auto const recording = store.recordingOfUpload(secret);
    if (!recording || recording->stage != RecordingStage::open || recording->uploadUntil <= clock.date())
        throw Failure{.code = ErrorCode::notFound,
                      .message = "This address is not known, was used already, or its time is over"};
    assertAnnounced(head, recording->sizeBytes);
    if (!settings.recordings.taken)
        throw unavailable("This gateway takes no recordings");
    if (!store.moveRecording(recording->id, RecordingStage::open, RecordingStage::receiving, clock.date()))
        throw Failure{.code = ErrorCode::notFound, .message = "This address was used already"};
    auto upload = std::make_shared<RecordingUpload>(store, folder, clock, workers, *recording);
    std::erase_if(coming, [](auto const& each) { return each.second.expired(); });
    coming[recording->id] = upload;
    return upload;
}

StoredRecording RecordingIntake::complete(StoredMachine const& machine, json::object const& request)
{
    std::string const id = requiredText(request, "recordingId");
    auto recording = store.recording(id);
    auto const connection = recording ? store.connection(recording->connectionId) : std::nullopt;
    if (!connection || connection->machineId != machine.id || recording->stage == RecordingStage::deleted)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such recording"};
    if (recording->stage == RecordingStage::ready)
        return *std::move(recording);
    if (!store.isShared(connectionOf(machine, connection->id).id))
        throw Failure{.code = ErrorCode::recordingNotShared,
                      .message = "The person does not share recordings with this connection"};
    auto const film = recording->stage == RecordingStage::received ? folder->open(id) : nullptr;
    if (!film || film->size() != recording->sizeBytes) {
        store.moveRecording(id, RecordingStage::received, RecordingStage::ended, clock.date());
        // A status after which a machine announces its film anew.
        throw invalid("The film has not come, or not whole", 422);
    }
    store.moveRecording(id, RecordingStage::received, RecordingStage::ready, clock.date());
    recording->stage = RecordingStage::ready;
    return *std::move(recording);
}

Task<json::object> RecordingIntake::share(StoredMachine machine, json::object request)
{
    std::string const id = requiredText(request, "connectionId");
    auto const shared = read::boolean(request, "shared");
    if (!shared)
        throw invalid("\"shared\" must be true or false");
    StoredConnection const connection = connectionOf(machine, id);
    if (*shared)
        assertMayShare(connection);
    store.setShared(connection.id, *shared);
    if (!*shared)
        co_await connectionEnded(connection.id);
    co_return json::object{{"connectionId", connection.id}, {"shared", *shared}};
}

Task<> RecordingIntake::connectionEnded(std::string connectionId)
{
    auto const ended = store.endUploads(connectionId, clock.date());
    for (std::string const& id : ended)
        if (auto const entry = coming.find(id); entry != coming.end())
            if (auto const upload = entry->second.lock())
                upload->withdraw();
    auto const remove = [this, &ended] {
        for (std::string const& id : ended)
            folder->remove(id);
    };
    co_await on(workers, remove);
}

} // namespace zelvo::service
