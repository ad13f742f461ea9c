#include "recording/RecordingUploader.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "recording/RecordingSharePolicy.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/this_coro.hpp>

namespace zelvo {

namespace {

using Outcome = RecordingUploadOutcome;

constexpr std::int64_t maxAttempts = 5;

/// Sets a flag while it exists, so that every exit of a drain clears it.
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

RecordingUploader::RecordingUploader(Services services)
    : services(std::move(services)), strand(asio::make_strand(this->services.contexts.agent)),
      settings(this->services.defaults), service({.workers = this->services.contexts.workers,
                                                  .http = this->services.http,
                                                  .keychain = this->services.keychain,
                                                  .httpBase = this->services.httpBase,
                                                  .appVersion = this->services.appVersion}),
      transfer({.contexts = this->services.contexts,
                .strand = strand,
                .clock = this->services.clock,
                .http = this->services.http,
                .state = this->services.state,
                .settings = settings,
                .service = service}),
      queue(this->services.defaults)
{
}

Task<> RecordingUploader::handle(FinishedRecording finished, bool quitting)
{
    auto body = [this, finished = std::move(finished), quitting] {
        return handleOnStrand(finished, quitting);
    };
    co_await runOn(strand, std::move(body));
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
    co_return co_await runOn(services.contexts.main, std::move(body));
}

Task<> RecordingUploader::drain()
{
    auto body = [this] { return drainOnStrand(); };
    co_await runOn(strand, std::move(body));
}

Task<> RecordingUploader::drainOnStrand()
{
    // A drain runs to its end even if the caller is cancelled.
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

/// False if the process ends in the meantime. Stores each outcome at once, so that after a crash no settled
/// recording is uploaded again. Other calls may change the queue during an upload.
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

/// `nullopt` if the process ends in the meantime; that does not count as an attempt.
Task<std::optional<Outcome>> RecordingUploader::attempt(Pending entry)
{
    try {
        co_return co_await transfer.upload(std::move(entry));
    } catch (NetworkFailure const&) {
        // Kind `cancelled`; every other failure is an outcome.
    }
    co_return std::nullopt;
}

Task<> RecordingUploader::settle(Pending entry, Outcome outcome)
{
    if (outcome.kind == Outcome::Kind::postponed)
        co_return;
    bool const isLastTry = entry.attempts >= maxAttempts - 1;
    if (outcome.kind == Outcome::Kind::retry && !isLastTry)
        queue.setAttempts(entry.path, entry.attempts + 1);
    else
        queue.remove(entry.path);
    co_await services.defaults.written(); // On disk before anything else happens.
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
