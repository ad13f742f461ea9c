#include "ZelvoGateway/api/MachineApi.h"

#include "ZelvoGateway/api/UploadBody.h"
#include "ZelvoGateway/http/Upgrade.h"
#include "base/Versions.h"

namespace zelvo::service {

namespace {

constexpr double maxSeconds = 86400; // of one recording

HttpError tooMany(std::string message, Refusal limit, Duration retryAfter)
{
    return {.status = 429,
            .code = ErrorCode::rateLimited,
            .message = std::move(message),
            .retryAfter = retryAfter,
            .limit = limit};
}

std::string textIn(json::object const& body, std::string_view key)
{
    auto const text = read::text(body, key);
    if (!text)
        throw badRequest("\"" + std::string(key) + "\" must be a text");
    return *text;
}

std::string idIn(json::object const& body, std::string_view key)
{
    auto const text = read::text(body, key);
    if (!text || text->empty())
        throw badRequest("\"" + std::string(key) + "\" must be a text that is not empty");
    return *text;
}

std::vector<AgentScope> scopesIn(json::object const& body)
{
    json::value const* const value = body.if_contains("grantedScopes");
    auto const scopes = value ? records::fromJson<std::vector<AgentScope>>(*value) : std::nullopt;
    if (!scopes)
        throw badRequest("\"grantedScopes\" must be a list of scopes");
    return *scopes;
}

RecordingAnnouncement announcementIn(json::object const& body)
{
    RecordingAnnouncement announcement{.connectionId = idIn(body, "connectionId")};
    auto const seconds = read::number(body, "durationSec");
    if (!seconds || *seconds < 0 || *seconds > maxSeconds)
        throw badRequest("\"durationSec\" must be a number from 0 to 86400");
    auto const bytes = read::integer(body, "sizeBytes");
    if (!bytes || *bytes < 1)
        throw badRequest("\"sizeBytes\" must be an integer of at least 1");
    announcement.durationSec = *seconds;
    announcement.sizeBytes = static_cast<std::uint64_t>(*bytes);
    return announcement;
}

} // namespace

std::vector<Route> MachineApi::routes()
{
    std::size_t const body = sockets.settings.limits.linkBody;
    auto const open = [&](std::string_view method, std::vector<std::string_view> pattern,
                          Endpoints::Method<MachineApi> handler) {
        return endpoints.open(method, std::move(pattern), body, *this, handler);
    };
    auto const machine = [&](std::vector<std::string_view> pattern, Endpoints::Method<MachineApi> handler) {
        auto const check = [this](HttpRequest const& head) { machineOf(head); };
        Route route =
            endpoints.route("POST", std::move(pattern), body, check, Endpoints::bound(*this, handler));
        route.isForMachines = true;
        return route;
    };
    Route connect = open("GET", {"machines", "connect"}, &MachineApi::handleConnect);
    connect.upgrade = [this](HttpRequest const& head) { return inHttp([&] { return admitSocket(head); }); };
    Route upload{.method = "PUT",
                 .pattern = {"uploads", "*"},
                 .maxBody = body,
                 .assertAccess = {},
                 .receive = [this](HttpRequest const& head, PathIds const& ids) {
                     return inHttp([&] { return receiveUpload(ids.front(), head); });
                 }};
    return {std::move(connect),
            open("POST", {"machines", "link", "resolve"}, &MachineApi::handleResolve),
            open("POST", {"machines", "link", "complete"}, &MachineApi::handleComplete),
            machine({"machines", "recordings"}, &MachineApi::handleAnnounce),
            machine({"machines", "recordings", "complete"}, &MachineApi::handleCompleteRecording),
            machine({"machines", "recordings", "sharing"}, &MachineApi::handleSharing),
            std::move(upload)};
}

StoredMachine MachineApi::machineOf(HttpRequest const& head)
{
    std::string const authorization = head.header("authorization");
    constexpr std::string_view scheme = "Bearer ";
    auto machine = authorization.starts_with(scheme)
                       ? sockets.store.machineOfToken(std::string_view(authorization).substr(scheme.size()))
                       : std::nullopt;
    if (!machine) {
        if (auto const wait = wrongTokens.count(head.remoteAddress))
            throw tooMany("Too many wrong machine tokens came from this address", Refusal::wrongTokens,
                          *wait);
        throw Failure{.code = ErrorCode::unauthorized, .message = "The machine token is not known"};
    }
    if (isVersionBelow(head.header("x-zelvo-app-version"), sockets.settings.minimumAppVersion))
        throw Failure{.code = ErrorCode::appUpdateRequired,
                      .message = "A newer version of the app is needed"};
    return *std::move(machine);
}

void MachineApi::assertMayConnect(std::string const& machineId)
{
    if (auto const wait = arrivals.take(machineId, sockets.settings.rates.machineConnections, 1min))
        throw tooMany("This machine connects too often", Refusal::machineRate, *wait);
}

Upgrade MachineApi::admitSocket(HttpRequest const& head)
{
    std::string const id = machineOf(head).id;
    assertMayConnect(id);
    bool const full = sockets.machines.count() >= sockets.settings.limits.machines;
    if (full && !sockets.machines.isOnline(id))
        throw HttpError{.status = 503,
                        .code = ErrorCode::rateLimited,
                        .message = "Too many machines are connected",
                        .limit = Refusal::machines};
    return [this, id](std::shared_ptr<UpgradedConnection> connection) {
        return serveSocket(std::move(connection), id);
    };
}

Task<> MachineApi::serveSocket(std::shared_ptr<UpgradedConnection> connection, std::string machineId)
{
    auto const socket = std::make_shared<MachineSocket>(std::move(connection->stream), sockets);
    co_await socket->serve(std::move(connection->request), std::move(machineId));
}

// NOLINTNEXTLINE(readability-make-member-function-const): the routes hold methods of one type.
Task<HttpResponse> MachineApi::handleConnect(HttpRequest request, PathIds)
{
    machineOf(request);
    throw badRequest("This path is for a WebSocket");
}

Task<HttpResponse> MachineApi::handleResolve(HttpRequest request, PathIds)
{
    json::object const body = objectOf(request.body);
    LinkResolution const resolution{.code = textIn(body, "token"),
                                    .appVersion = read::text(body, "appVersion").value_or(""),
                                    .machineToken = read::text(body, "machineToken")};
    LinkOffer const offer = links.resolve(resolution);
    json::object answer;
    answer["platform"] =
        json::object{{"name", sockets.settings.platformName}, {"isPersonal", sockets.settings.personal}};
    answer["requestedScopes"] = records::toJson(offer.scopes);
    answer["machineId"] = offer.machine.machineId;
    if (!offer.machine.token.empty())
        answer["machineToken"] = offer.machine.token;
    co_return jsonResponse(200, answer);
}

Task<HttpResponse> MachineApi::handleComplete(HttpRequest request, PathIds)
{
    json::object const body = objectOf(request.body);
    LinkCompletion const completion{.code = textIn(body, "token"),
                                    .machineToken = textIn(body, "machineToken"),
                                    .grantedScopes = scopesIn(body)};
    co_return jsonResponse(200, json::object{{"connectionId", links.complete(completion)}});
}

Task<HttpResponse> MachineApi::handleAnnounce(HttpRequest request, PathIds)
{
    StoredMachine machine = machineOf(request);
    RecordingAnnouncement announcement = announcementIn(objectOf(request.body));
    std::string const address = access.addressFor(request);
    AnnouncedRecording const made = co_await intake.announce(std::move(machine), std::move(announcement));
    co_return jsonResponse(200, json::object{{"recordingId", made.id},
                                             {"uploadUrl", address + "/uploads/" + made.uploadSecret}});
}

std::shared_ptr<BodySink> MachineApi::receiveUpload(std::string const& secret, HttpRequest const& head)
{
    StoredRecording const recording = intake.awaited(secret);
    assertUploadHead(head, recording.sizeBytes);
    return std::make_shared<UploadBody>(intake.receive(recording));
}

Task<HttpResponse> MachineApi::handleCompleteRecording(HttpRequest request, PathIds)
{
    StoredMachine machine = machineOf(request);
    std::string const id = idIn(objectOf(request.body), "recordingId");
    co_await intake.complete(std::move(machine), id);
    co_return jsonResponse(200, json::object{{"recordingId", id}, {"status", "ready"}});
}

Task<HttpResponse> MachineApi::handleSharing(HttpRequest request, PathIds)
{
    StoredMachine machine = machineOf(request);
    json::object const body = objectOf(request.body);
    std::string const id = idIn(body, "connectionId");
    auto const shared = read::boolean(body, "shared");
    if (!shared)
        throw badRequest("\"shared\" must be true or false");
    co_await intake.share(std::move(machine), id, *shared);
    co_return jsonResponse(200, json::object{{"connectionId", id}, {"shared", *shared}});
}

} // namespace zelvo::service
