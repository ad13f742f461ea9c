#include "recording/RecordingTransfer.h"

#include "base/Hop.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace zelvo {

namespace {

using Outcome = RecordingUploadOutcome;

constexpr Duration maxSilence = 600s; // without a byte that moves
constexpr Duration watchInterval = 1s;

/// The file's size in bytes; `nullopt` if it cannot be read. Blocks.
std::optional<std::int64_t> sizeOfRecording(std::string const& stored)
{
    std::filesystem::path const path(stored);
    if (stored.find('\0') != std::string::npos || !path.is_absolute())
        return std::nullopt;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) // Opening a named pipe would block.
        return std::nullopt;
    std::uintmax_t const bytes = std::filesystem::file_size(path, error);
    if (error || bytes < 1 || !std::ifstream(path, std::ios::binary))
        return std::nullopt;
    return static_cast<std::int64_t>(bytes);
}

} // namespace

/// Whether a recording may still be sent, during its upload.
struct RecordingTransfer::Watch {
    std::atomic<bool> mayGoOn = true;       // any thread
    Outcome outcome = Outcome::postponed(); // strand; once it may not
};

Task<Outcome> RecordingTransfer::upload(PendingRecording entry)
{
    auto const first = co_await obstacle(entry.connectionId);
    if (first && first->kind == Outcome::Kind::keepLocal)
        co_return *first;
    auto const bytes = co_await on(services.contexts.workers, [&] { return sizeOfRecording(entry.path); });
    if (!bytes)
        co_return Outcome::keepLocal("file_missing");
    if (first)
        co_return *first;
    Announced const announced = co_await announce(entry, *bytes);
    if (announced.outcome.kind != Outcome::Kind::done)
        co_return announced.outcome;
    if (auto const found = co_await obstacle(entry.connectionId))
        co_return *found;
    Outcome const sent = co_await put(entry, *bytes, announced);
    if (sent.kind != Outcome::Kind::done)
        co_return sent;
    // A recording that is not completed is none to the service.
    if (auto const found = co_await obstacle(entry.connectionId))
        co_return *found;
    co_return co_await complete(announced.target.recordingId);
}

Task<RecordingTransfer::Announced> RecordingTransfer::announce(PendingRecording entry, std::int64_t bytes)
{
    json::object body{{"connectionId", entry.connectionId},
                      {"durationSec", plainNumber(entry.durationSec)},
                      {"sizeBytes", bytes}};
    RecordingReply const reply = co_await services.service.post("machines/recordings", std::move(body));
    Announced announced{
        .outcome = Outcome::classify(reply.status, reply.code()), .target = {}, .peer = reply.peer};
    if (announced.outcome.kind != Outcome::Kind::done)
        co_return announced;
    if (auto target = RecordingUploadTarget::from(reply))
        announced.target = *std::move(target);
    else
        announced.outcome = Outcome::retry();
    co_return announced;
}

Task<Outcome> RecordingTransfer::put(PendingRecording entry, std::int64_t bytes, Announced announced)
{
    auto const watch = std::make_shared<Watch>();
    TaskHandle watcher =
        spawn(services.strand, [this, watch, id = entry.connectionId] { return watchRight(id, watch); });
    progressBox->set(RecordingUploadProgress{entry.path, entry.connectionId, 0, bytes});
    HttpResponse response;
    std::optional<NetworkFailure> failure;
    try {
        response = co_await services.http.upload(uploadOf(entry, bytes, std::move(announced), watch));
    } catch (NetworkFailure const& problem) {
        failure = problem;
    }
    watcher.cancel();
    progressBox->set(std::nullopt);
    if (!watch->mayGoOn)
        co_return watch->outcome;
    if (failure && failure->kind == NetworkFailure::Kind::cancelled)
        throw *failure;
    bool const isSuccess = response.status >= 200 && response.status <= 299;
    co_return !failure && isSuccess ? Outcome::done() : Outcome::retry();
}

/// Carries no machine token: the address may be another server's.
HttpUpload RecordingTransfer::uploadOf(PendingRecording const& entry,
                                       std::int64_t bytes,
                                       Announced announced,
                                       std::shared_ptr<Watch const> watch) const
{
    HttpUpload upload;
    upload.url = std::move(announced.target.uploadUrl);
    upload.gatewayPeer = std::move(announced.peer);
    upload.method = "PUT";
    upload.headers = {{"Content-Type", "video/mp4"}};
    upload.file = entry.path;
    upload.bytes = bytes;
    upload.timeout = maxSilence;
    RecordingUploadProgress step{entry.path, entry.connectionId, 0, bytes};
    upload.onProgress = [box = progressBox, watch = std::move(watch), step](std::int64_t sent) mutable {
        step.sentBytes = sent;
        box->change([&](auto& shown) {
            if (shown) // A report may arrive after the end of the upload.
                shown = step;
        });
        return watch->mayGoOn.load();
    };
    return upload;
}

Task<> RecordingTransfer::watchRight(std::string connectionId, std::shared_ptr<Watch> watch)
{
    while (watch->mayGoOn) {
        co_await services.clock.sleep(watchInterval);
        if (auto found = co_await obstacle(connectionId)) {
            watch->outcome = *std::move(found);
            watch->mayGoOn = false;
        }
    }
}

Task<Outcome> RecordingTransfer::complete(std::string recordingId)
{
    json::object body{{"recordingId", std::move(recordingId)}};
    RecordingReply const reply =
        co_await services.service.post("machines/recordings/complete", std::move(body));
    co_return Outcome::classify(reply.status, reply.code());
}

/// Why nothing may be sent to a connection now; `nullopt` if it may. A right that the person took away has
/// the service's own code for that.
Task<std::optional<Outcome>> RecordingTransfer::obstacle(std::string connectionId)
{
    auto const connection =
        co_await on(services.contexts.main, [&] { return services.state.connection(connectionId); });
    if (!connection || !connection->holds(AgentScope::record))
        co_return Outcome::keepLocal("scope_denied");
    if (connection->shareRecordings != true)
        co_return Outcome::keepLocal("recording_not_shared");
    if (services.settings.mode() != RecordingMode::share)
        co_return Outcome::postponed();
    co_return std::nullopt;
}

} // namespace zelvo
