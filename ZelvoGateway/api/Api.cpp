#include "ZelvoGateway/api/Api.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/base/Today.h"
#include "ZelvoGateway/base/Versions.h"
#include "ZelvoGateway/console/ConsolePage.h"

#include <iostream>

namespace zelvo::service {

namespace {

constexpr Duration maintenancePeriod = 60s;

template <class R>
R recordOf(std::string const& body)
{
    auto record = records::fromJson<R>(objectOf(body));
    if (!record)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The body lacks a required key, or a key has the wrong type"};
    return *std::move(record);
}

/// True when the path has the pattern's form; then `ids` holds what stood for "*".
bool matches(std::vector<std::string_view> const& pattern,
             std::vector<std::string> const& path,
             Api::Ids& ids)
{
    if (pattern.size() != path.size())
        return false;
    ids.clear();
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (pattern[i] == "*" && !path[i].empty())
            ids.push_back(path[i]);
        else if (pattern[i] != path[i])
            return false;
    }
    return true;
}

} // namespace

Api::Api(Store& store,
         MachineRegistry& machines,
         ApiKey const& key,
         Settings const& settings,
         Clock& clock,
         MemoryBudget& memory,
         Executor workers,
         std::shared_ptr<RecordingFolder const> films)
    : store(store), settings(settings), clock(clock), access(store, key, settings), links(store, settings),
      connections(store, machines, settings), commands(store, machines, settings, clock, memory, workers),
      intake(store, films, settings, clock, workers), library(store, films, key, settings, clock, workers)
{
}

Task<> Api::runMaintenance()
{
    for (;;) {
        try {
            commands.tidy();
            co_await library.tidy();
        } catch (std::exception const& error) { // A full disk, for instance. It is due next time too.
            std::cerr << "zelvo-gateway: " << error.what() << std::endl;
        }
        co_await clock.sleep(maintenancePeriod);
    }
}

std::span<Api::Route const> Api::routes()
{
    using enum Access;
    static std::vector<Route> const all = {
        {"GET", {}, open, &Limits::linkBody, &Api::handleConsole},
        {"GET", {"open"}, open, &Limits::linkBody, &Api::handleConsoleOpen},
        {"GET", {"page", "*"}, open, &Limits::linkBody, &Api::handleConsoleFile},
        {"GET", {"console", "machines"}, console, &Limits::linkBody, &Api::handleConsoleMachines},
        {"GET", {"machines", "connect"}, open, &Limits::linkBody, &Api::handleMachineConnect},
        {"POST", {"machines", "link", "resolve"}, open, &Limits::linkBody, &Api::handleLinkResolve},
        {"POST", {"machines", "link", "complete"}, open, &Limits::linkBody, &Api::handleLinkComplete},
        {"POST", {"v1", "end-users"}, platform, &Limits::smallBody, &Api::handleEndUsers},
        {"POST", {"v1", "link-sessions"}, platform, &Limits::smallBody, &Api::handleLinkSessions},
        {"GET", {"v1", "connections"}, platform, &Limits::smallBody, &Api::handleConnections},
        {"DELETE", {"v1", "connections", "*"}, platform, &Limits::smallBody, &Api::handleRevoke},
        {"POST",
         {"v1", "connections", "*", "commands"},
         platform,
         &Limits::commandBody,
         &Api::handleCommands},
        {"GET",
         {"v1", "connections", "*", "commands", "*"},
         platform,
         &Limits::smallBody,
         &Api::handleCommand},
        {"DELETE",
         {"v1", "connections", "*", "commands", "*"},
         platform,
         &Limits::smallBody,
         &Api::handleCancelCommand},
        {"GET", {"v1", "machines", "*"}, platform, &Limits::smallBody, &Api::handleMachine},
        {"DELETE", {"v1", "machines", "*"}, platform, &Limits::smallBody, &Api::handleRemoveMachine},
        {"POST", {"v1", "cloud-machines"}, platform, &Limits::smallBody, &Api::handleCloudMachines},
        {"GET", {"recordings"}, open, &Limits::linkBody, &Api::handleRecordingsPage},
        {"POST", {"machines", "recordings"}, machine, &Limits::linkBody, &Api::handleAnnounce},
        {"POST", {"machines", "recordings", "complete"}, machine, &Limits::linkBody, &Api::handleComplete},
        {"POST", {"machines", "recordings", "sharing"}, machine, &Limits::linkBody, &Api::handleSharing},
        {"PUT", {"uploads", "*"}, open, &Limits::linkBody, nullptr, &Api::receiveUpload},
        {"GET", {"v1", "recordings"}, platform, &Limits::smallBody, &Api::handleRecordings},
        {"GET", {"v1", "recordings", "*"}, platform, &Limits::smallBody, &Api::handleRecording},
        {"DELETE", {"v1", "recordings", "*"}, platform, &Limits::smallBody, &Api::handleRemoveRecording},
        {"GET", {"films", "*"}, open, &Limits::linkBody, &Api::handleRecordingFile},
        {"HEAD", {"films", "*"}, open, &Limits::linkBody, &Api::handleRecordingFile},
    };
    return all;
}

Api::Admission Api::admit(HttpRequest const& head) const
{
    access.assertOwnSite(head);
    std::string allowed;
    for (Route const& route : routes()) {
        Ids ids;
        if (!matches(route.pattern, head.path, ids))
            continue;
        if (route.method != head.method) {
            allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
            continue;
        }
        assertAccess(route, head);
        return {.route = &route, .ids = std::move(ids), .bodyLimit = settings.limits.*route.bodyLimit};
    }
    if (!allowed.empty())
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "This method is not allowed here; allowed: " + allowed,
                      .status = 405};
    throw Failure{.code = ErrorCode::notFound, .message = "There is nothing at this path"};
}

void Api::assertAccess(Route const& route, HttpRequest const& head) const
{
    if (route.access == Access::open)
        return;
    if (route.access == Access::machine) {
        admitMachine(head);
        return;
    }
    if (route.access == Access::platform && access.hasApiKey(head))
        return;
    if (!access.hasCookie(head))
        throw Failure{.code = ErrorCode::unauthorized, .message = "The API key is missing or wrong"};
    access.assertSentByOwnPage(head);
}

std::shared_ptr<BodySink> Api::receiverOf(Admission const& admission, HttpRequest const& head)
{
    auto const receiver = admission.route->receiver;
    return receiver ? (this->*receiver)(head, admission.ids) : nullptr;
}

Task<HttpResponse> Api::answer(Admission admission, HttpRequest request)
{
    std::string body = std::exchange(request.body, {});
    HttpRequest const head = request; // What a failure is told by, without the body: that may be large.
    request.body = std::move(body);
    try {
        co_return co_await (this->*admission.route->handler)(std::move(request), std::move(admission.ids));
    } catch (Failure const& failure) {
        co_return failed(failure, head);
    } catch (std::exception const& error) {
        co_return failed(internalFailure(error), head);
    }
}

HttpResponse Api::failed(Failure const& failure, HttpRequest const& request) const
{
    records::APIError body;
    body.error.code = failure.code;
    body.error.message = failure.message;
    body.error.details = failure.details;
    body.error.requestId = failure.requestId.empty() ? newId("req") : failure.requestId;
    int status = failure.status.value_or(httpStatus(failure.code));
    // A browser repeats by itself what was answered with 408, and the person would be asked twice.
    if (status == 408 && !access.hasApiKey(request))
        status = 504;
    HttpResponse response = jsonResponse(status, records::toJson(body));
    if (status == 401)
        response.headers.emplace_back("WWW-Authenticate", "Bearer");
    if (status == 429)
        response.headers.emplace_back("Retry-After", "5");
    return response;
}

StoredMachine Api::admitMachine(HttpRequest const& head) const
{
    access.assertOwnSite(head);
    std::string const authorization = head.header("authorization");
    constexpr std::string_view scheme = "Bearer ";
    auto machine = authorization.starts_with(scheme)
                       ? store.machineOfToken(std::string_view(authorization).substr(scheme.size()))
                       : std::nullopt;
    if (!machine)
        throw Failure{.code = ErrorCode::unauthorized, .message = "The machine token is not known"};
    if (isVersionBelow(head.header("x-zelvo-app-version"), settings.minimumAppVersion))
        throw Failure{.code = ErrorCode::appUpdateRequired,
                      .message = "A newer version of the app is needed"};
    return *std::move(machine);
}

Task<HttpResponse> Api::handleConsole(HttpRequest request, Ids)
{
    co_return access.hasCookie(request) ? consolePage() : lockedPage();
}

Task<HttpResponse> Api::handleConsoleOpen(HttpRequest request, Ids)
{
    co_return access.open(request);
}

Task<HttpResponse> Api::handleConsoleFile(HttpRequest, Ids ids)
{
    auto file = consoleFile(ids.front());
    if (!file)
        throw Failure{.code = ErrorCode::notFound, .message = "There is nothing at this path"};
    co_return *std::move(file);
}

Task<HttpResponse> Api::handleConsoleMachines(HttpRequest, Ids)
{
    co_return jsonResponse(200, connections.overview());
}

Task<HttpResponse> Api::handleLinkResolve(HttpRequest request, Ids)
{
    co_return jsonResponse(200, links.resolve(objectOf(request.body)));
}

Task<HttpResponse> Api::handleLinkComplete(HttpRequest request, Ids)
{
    co_return jsonResponse(200, links.complete(objectOf(request.body)));
}

// NOLINTNEXTLINE(readability-make-member-function-const): the table holds methods of one type.
Task<HttpResponse> Api::handleMachineConnect(HttpRequest request, Ids)
{
    admitMachine(request);
    throw Failure{.code = ErrorCode::invalidRequest, .message = "This path is for a WebSocket"};
}

Task<HttpResponse> Api::handleEndUsers(HttpRequest request, Ids)
{
    auto const user = recordOf<records::CreateEndUserRequest>(request.body);
    if (user.externalId.empty())
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"externalId\" must not be empty"};
    co_return jsonResponse(201, records::toJson(store.addEndUser(user, today())));
}

Task<HttpResponse> Api::handleLinkSessions(HttpRequest request, Ids)
{
    auto const wanted = recordOf<records::CreateLinkSessionRequest>(request.body);
    co_return jsonResponse(201, records::toJson(links.createSession(wanted)));
}

Task<HttpResponse> Api::handleConnections(HttpRequest, Ids)
{
    json::object body;
    body["data"] = records::toJson(connections.connections());
    co_return jsonResponse(200, body);
}

Task<HttpResponse> Api::handleRevoke(HttpRequest, Ids ids)
{
    auto const revoked = connections.revoke(ids.front());
    commands.connectionRevoked(revoked.machineId, revoked.id);
    co_await intake.connectionEnded(revoked.id);
    co_return jsonResponse(200, records::toJson(revoked));
}

Task<HttpResponse> Api::handleCommands(HttpRequest request, Ids ids)
{
    co_return co_await commands.run(std::move(ids.front()), std::move(request.body));
}

Task<HttpResponse> Api::handleCommand(HttpRequest, Ids ids)
{
    co_return commands.state(ids.front(), ids.back());
}

Task<HttpResponse> Api::handleCancelCommand(HttpRequest, Ids ids)
{
    co_return commands.cancel(ids.front(), ids.back());
}

Task<HttpResponse> Api::handleMachine(HttpRequest, Ids ids)
{
    co_return jsonResponse(200, records::toJson(connections.machine(ids.front())));
}

Task<HttpResponse> Api::handleRemoveMachine(HttpRequest, Ids ids)
{
    auto films = library.recordingsOf(ids.front());
    connections.removeMachine(ids.front());
    commands.machineRemoved(ids.front());
    co_await library.removeFiles(std::move(films));
    co_return jsonResponse(200, json::object{{"ok", true}});
}

Task<HttpResponse> Api::handleCloudMachines(HttpRequest request, Ids)
{
    json::object const wanted = request.body.empty() ? json::object() : objectOf(request.body);
    auto const made = links.provision(read::text(wanted, "endUserId").value_or("local"));
    co_return jsonResponse(201, json::object{{"machineId", made.machine.machineId},
                                             {"machineToken", made.machine.token},
                                             {"connectionId", made.connectionId}});
}

} // namespace zelvo::service
