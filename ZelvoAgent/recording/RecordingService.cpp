#include "recording/RecordingService.h"

#include "base/Hop.h"
#include "base/Url.h"
#include "gateway/GatewayAddress.h"

namespace zelvo {

namespace {

constexpr Duration patience = 30s;

} // namespace

RecordingReply RecordingReply::from(HttpResponse const& response)
{
    RecordingReply reply{.status = response.status, .body = std::nullopt, .peer = response.peer};
    if (auto parsed = parseJson(response.body); parsed && parsed->is_object())
        reply.body = std::move(parsed->get_object());
    return reply;
}

std::optional<std::string> RecordingReply::code() const
{
    json::object const* const error = body ? read::object(*body, "error") : nullptr;
    return error ? read::text(*error, "code") : std::nullopt;
}

std::optional<RecordingUploadTarget> RecordingUploadTarget::from(RecordingReply const& reply)
{
    if (!reply.body)
        return std::nullopt;
    auto const recordingId = read::text(*reply.body, "recordingId");
    auto const uploadUrl = read::text(*reply.body, "uploadUrl");
    if (!recordingId || !uploadUrl || !isAbsoluteUrl(*uploadUrl))
        return std::nullopt;
    return RecordingUploadTarget{*recordingId, *uploadUrl};
}

Task<RecordingReply> RecordingService::post(std::string path, json::object body)
{
    std::optional<std::string> const token = co_await services.keychain.get(Keychain::Item::machineToken);
    if (!token)
        co_return RecordingReply{};
    try {
        HttpResponse const response = co_await services.http.load(requestFor(path, *token, body));
        // The response may be long, so a worker parses it.
        RecordingReply reply = co_await on(services.workers, [&] { return RecordingReply::from(response); });
        if (reply.peer.empty()) // It answered through a proxy.
            reply.peer = GatewayAddress::host(services.httpBase);
        co_return reply;
    } catch (NetworkFailure const& failure) {
        if (failure.kind == NetworkFailure::Kind::cancelled)
            throw;
    }
    co_return RecordingReply{};
}

HttpRequest RecordingService::requestFor(std::string const& path,
                                         std::string const& token,
                                         json::object const& body) const
{
    HttpRequest request;
    request.url = GatewayAddress::appending(services.httpBase, path);
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"},
                       {"Authorization", "Bearer " + token},
                       {"X-Zelvo-App-Version", services.appVersion}};
    request.body = writeJson(body);
    request.timeout = patience;
    request.longest = patience; // Otherwise a server that sends a byte now and then would block the queue.
    return request;
}

} // namespace zelvo
