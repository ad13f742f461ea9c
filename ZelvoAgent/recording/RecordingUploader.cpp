#include "recording/RecordingUploader.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "recording/RecordingSharePolicy.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/this_coro.hpp>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace zelvo {

namespace {

using Outcome = RecordingUploadOutcome;

constexpr std::int64_t mostAttempts = 5;
constexpr Duration transferTime = 600s;
constexpr Duration watchInterval = 1s;

/// Bytes; nothing when there is no film to be read. Blocks.
std::optional<std::int64_t> sizeOfFilm(std::string const& stored)
{
    std::filesystem::path const path(stored);
    if (stored.find('\0') != std::string::npos || !path.is_absolute())
        return std::nullopt;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) // Opening a pipe would wait for its writer.
        return std::nullopt;
    std::uintmax_t const bytes = std::filesystem::file_size(path, error);
    if (error || bytes < 1 || !std::ifstream(path, std::ios::binary))
        return std::nullopt;
    return static_cast<std::int64_t>(bytes);
}

/// True while it exists, so that no way out of a drain leaves it behind.
class Flag {
public:
    explicit Flag(bool& raised) : flag(raised) { flag = true; }
    ~Flag() { flag = false; }
    Flag(Flag const&) = delete;
    Flag& operator=(Flag const&) = delete;

private:
    bool& flag;
};

} // namespace

/// Looks after the right to send a film while it goes out.
struct RecordingUploader::Watch {
    std::atomic<bool> mayGoOn = true; // any thread
    std::string reason;               // strand; once it may not
};

RecordingUploader::RecordingUploader(Services services)
    : services(std::move(services)), strand(asio::make_strand(this->services.contexts.agent)),
      settings(this->services.defaults), service({.workers = this->services.contexts.workers,
                                                  .http = this->services.http,
                                                  .keychain = this->services.keychain,
                                                  .httpBase = this->services.httpBase,
                                                  .appVersion = this->services.appVersion}),
      queue(this->services.defaults)
{
}

Task<> RecordingUploader::handle(FinishedRecording finished, bool quitting)
{
    auto body = [this, finished = std::move(finished), quitting] {
        return handleOnStrand(finished, quitting);
    };
    co_await onStrand(strand, std::move(body));
}

Task<> RecordingUploader::handleOnStrand(FinishedRecording finished, bool quitting)
{
    auto const connection = co_await on(services.contexts.main, [&] {
        services.state.log({.platform = finished.platformName,
                            .summary = localized("recording.saved"),
                            .kind = ActivityKind::recording,
                            .connectionId = finished.connectionId});
        return services.state.connection(finished.connectionId);
    });
    if (!finished.connectionId)
        co_return;
    auto const decision = RecordingSharePolicy::decision(
        settings.mode(), connection ? connection->scopes : std::vector<AgentScope>(),
        connection ? connection->shareRecordings : std::nullopt);
    if (decision == RecordingShareDecision::keepLocal)
        co_return;
    if (decision == RecordingShareDecision::ask && (quitting || !co_await askOnMain(*finished.connectionId)))
        co_return;
    queue.append({.path = finished.file.native(),
                  .connectionId = *finished.connectionId,
                  .durationSec = finished.durationSec});
    if (!quitting)
        co_await drainOnStrand();
}

Task<bool> RecordingUploader::askOnMain(std::string connectionId)
{
    auto body = [this, id = std::move(connectionId)] { return services.ask(id); };
    co_return co_await onStrand(services.contexts.main, std::move(body));
}

Task<> RecordingUploader::drain()
{
    auto body = [this] { return drainOnStrand(); };
    co_await onStrand(strand, std::move(body));
}

Task<> RecordingUploader::drainOnStrand()
{
    // What was begun is followed to its end, whether or not somebody still waits for it.
    co_await asio::this_coro::reset_cancellation_state(asio::disable_cancellation());
    drainAgain = true;
    if (draining)
        co_return;
    Flag const running(draining);
    bool goesOn = true;
    while (goesOn && drainAgain) {
        drainAgain = false;
        goesOn = co_await send(queue.load());
    }
}

/// False when the end of the process came between. Each outcome is stored at once, into a queue that may have
/// changed meanwhile: after a crash nothing that is settled is tried again.
Task<bool> RecordingUploader::send(std::vector<Pending> items)
{
    for (Pending const& item : items) {
        if (!queue.holds(item.path))
            continue;
        std::optional<Outcome> outcome = co_await attempt(item);
        if (!outcome)
            co_return false;
        co_await settle(item, *std::move(outcome));
    }
    co_return true;
}

/// Nothing when the end of the process came between; that costs no try.
Task<std::optional<Outcome>> RecordingUploader::attempt(Pending entry)
{
    try {
        co_return co_await upload(std::move(entry));
    } catch (NetworkFailure const&) {
        // `cancelled`; every other one is an outcome.
    }
    co_return std::nullopt;
}

Task<> RecordingUploader::settle(Pending entry, Outcome outcome)
{
    bool const isLastTry = entry.attempts >= mostAttempts - 1;
    if (outcome.kind == Outcome::Kind::retry && !isLastTry)
        queue.setAttempts(entry.path, entry.attempts + 1);
    else
        queue.remove(entry.path);
    co_await services.defaults.written(); // Before anything else can end the process.
    if (outcome.kind == Outcome::Kind::done)
        co_await logUploaded(entry.connectionId);
    if (outcome.kind == Outcome::Kind::keepLocal)
        co_await logKeptLocal(outcome.reason);
}

Task<> RecordingUploader::logUploaded(std::string connectionId)
{
    co_await on(services.contexts.main, [&] {
        auto const connection = services.state.connection(connectionId);
        services.state.log({.platform = connection ? connection->platformName : localized("common.platform"),
                            .summary = localized("recording.uploaded"),
                            .kind = ActivityKind::recording,
                            .connectionId = connectionId});
    });
}

Task<> RecordingUploader::logKeptLocal(std::string reason)
{
    co_await on(services.contexts.main, [&] {
        services.state.log({.platform = localized("activity.app"),
                            .summary = localized("recording.keptLocal", {explain(reason)}),
                            .kind = ActivityKind::recording});
    });
}

/// Throws NetworkFailure of kind `cancelled` when the process ends.
Task<Outcome> RecordingUploader::upload(Pending entry)
{
    if (auto reason = co_await refusal(entry.connectionId))
        co_return Outcome::keepLocal(*std::move(reason));
    auto const bytes = co_await on(services.contexts.workers, [&] { return sizeOfFilm(entry.path); });
    if (!bytes)
        co_return Outcome::keepLocal("file_missing");
    Announced const announced = co_await announce(entry, *bytes);
    if (announced.outcome.kind != Outcome::Kind::done)
        co_return announced.outcome;
    if (auto reason = co_await refusal(entry.connectionId))
        co_return Outcome::keepLocal(*std::move(reason));
    Outcome const sent = co_await put(entry, *bytes, announced.target.uploadUrl);
    if (sent.kind != Outcome::Kind::done)
        co_return sent;
    // A film that is not completed is none to the service.
    if (auto reason = co_await refusal(entry.connectionId))
        co_return Outcome::keepLocal(*std::move(reason));
    co_return co_await complete(announced.target.recordingId);
}

Task<RecordingUploader::Announced> RecordingUploader::announce(Pending entry, std::int64_t bytes)
{
    json::object body{{"connectionId", entry.connectionId},
                      {"durationSec", plainNumber(entry.durationSec)},
                      {"sizeBytes", bytes}};
    RecordingReply const reply = co_await service.post("machines/recordings", std::move(body));
    Announced announced{.outcome = Outcome::classify(reply.status, reply.code()), .target = {}};
    if (announced.outcome.kind != Outcome::Kind::done)
        co_return announced;
    if (auto target = RecordingUploadTarget::from(reply))
        announced.target = *std::move(target);
    else
        announced.outcome = Outcome::retry();
    co_return announced;
}

Task<Outcome> RecordingUploader::put(Pending entry, std::int64_t bytes, std::string url)
{
    auto const watch = std::make_shared<Watch>();
    TaskHandle watcher =
        spawn(strand, [this, watch, id = entry.connectionId] { return watchRight(id, watch); });
    progressBox->set(RecordingUploadProgress{entry.path, entry.connectionId, 0, bytes});
    HttpResponse response;
    std::optional<NetworkFailure> failure;
    try {
        response = co_await services.http.upload(uploadOf(entry, bytes, std::move(url), watch));
    } catch (NetworkFailure const& problem) {
        failure = problem;
    }
    watcher.cancel();
    progressBox->set(std::nullopt);
    if (!watch->mayGoOn)
        co_return Outcome::keepLocal(watch->reason);
    if (failure && failure->kind == NetworkFailure::Kind::cancelled)
        throw *failure;
    bool const isSuccess = response.status >= 200 && response.status <= 299;
    co_return !failure && isSuccess ? Outcome::done() : Outcome::retry();
}

/// The machine's token is not for this address.
HttpUpload RecordingUploader::uploadOf(Pending const& entry,
                                       std::int64_t bytes,
                                       std::string url,
                                       std::shared_ptr<Watch const> watch) const
{
    HttpUpload upload;
    upload.url = std::move(url);
    upload.method = "PUT";
    upload.headers = {{"Content-Type", "video/mp4"}};
    upload.file = entry.path;
    upload.bytes = bytes;
    upload.timeout = transferTime;
    RecordingUploadProgress step{entry.path, entry.connectionId, 0, bytes};
    upload.onProgress = [box = progressBox, watch = std::move(watch), step](std::int64_t sent) mutable {
        step.sentBytes = sent;
        box->change([&](auto& shown) {
            if (shown) // Not after the end.
                shown = step;
        });
        return watch->mayGoOn.load();
    };
    return upload;
}

Task<> RecordingUploader::watchRight(std::string connectionId, std::shared_ptr<Watch> watch)
{
    while (watch->mayGoOn) {
        co_await services.clock.sleep(watchInterval);
        if (auto reason = co_await refusal(connectionId)) {
            watch->reason = *std::move(reason);
            watch->mayGoOn = false;
        }
    }
}

Task<Outcome> RecordingUploader::complete(std::string recordingId)
{
    json::object body{{"recordingId", std::move(recordingId)}};
    RecordingReply const reply = co_await service.post("machines/recordings/complete", std::move(body));
    co_return Outcome::classify(reply.status, reply.code());
}

/// Why no film may go to a connection now; nothing when it may. What the person took away is answered as the
/// service would answer it.
Task<std::optional<std::string>> RecordingUploader::refusal(std::string connectionId)
{
    auto const connection =
        co_await on(services.contexts.main, [&] { return services.state.connection(connectionId); });
    if (!connection || !connection->holds(AgentScope::record))
        co_return "scope_denied";
    auto const decision =
        RecordingSharePolicy::decision(settings.mode(), connection->scopes, connection->shareRecordings);
    if (decision != RecordingShareDecision::upload)
        co_return "recording_not_shared";
    co_return std::nullopt;
}

Task<bool> RecordingUploader::sendSharing(std::string connectionId, bool shared)
{
    constexpr int ok = 200;
    json::object body{{"connectionId", std::move(connectionId)}, {"shared", shared}};
    try {
        RecordingReply const reply = co_await service.post("machines/recordings/sharing", std::move(body));
        co_return reply.status == ok;
    } catch (NetworkFailure const&) {
        // The process ends.
    }
    co_return false;
}

} // namespace zelvo
