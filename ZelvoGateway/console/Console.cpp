#include "ZelvoGateway/console/Console.h"

#include "ZelvoGateway/console/ConsolePages.h"
#include "ZelvoGateway/control/MachineView.h"
#include "ZelvoGateway/http/HttpError.h"

namespace zelvo::service {

namespace {

using Answer = std::function<HttpResponse(HttpRequest const& request, PathIds const& ids)>;

Task<HttpResponse> answered(Answer const* answer, HttpRequest request, PathIds ids)
{
    try {
        co_return (*answer)(request, ids);
    } catch (Failure const& failure) {
        throw httpErrorOf(failure);
    }
}

json::object connectionObject(StoredConnection const& connection)
{
    return {{"id", connection.id},
            {"endUserId", connection.endUserId},
            {"platformName", connection.platformName},
            {"scopes", records::toJson(connection.scopes)},
            {"createdAt", connection.createdAt}};
}

HttpResponse fileNamed(std::string const& name)
{
    auto file = consoleFile(name);
    if (!file)
        throw HttpError{
            .status = 404, .code = ErrorCode::notFound, .message = "There is nothing at this path"};
    return *std::move(file);
}

} // namespace

std::vector<Route> Console::routes()
{
    auto const route = [&](std::vector<std::string_view> pattern, Answer answer) {
        auto const kept = std::make_shared<Answer const>(std::move(answer));
        return Route{.method = "GET",
                     .pattern = std::move(pattern),
                     .maxBody = limits.linkBody,
                     .assertAccess = [](HttpRequest const&) {},
                     .answer =
                         [kept](HttpRequest request, PathIds ids) {
                             return answered(kept.get(), std::move(request), std::move(ids));
                         }};
    };
    Route list =
        route({"console", "machines"}, [this](HttpRequest const&, PathIds const&) { return machines(); });
    list.assertAccess = [this](HttpRequest const& head) { access.assertConsole(head); };
    return {
        route({},
              [this](HttpRequest const& request, auto const&) { return pageOrLock(request, consolePage); }),
        route({"recordings"}, [this](HttpRequest const& request,
                                     auto const&) { return pageOrLock(request, recordingsPage); }),
        route({"open"}, [this](HttpRequest const& request, auto const&) { return lock.open(request); }),
        route({"page", "*"}, [](HttpRequest const&, PathIds const& ids) { return fileNamed(ids.front()); }),
        std::move(list)};
}

HttpResponse Console::pageOrLock(HttpRequest const& request, HttpResponse (*page)()) const
{
    return access.hasCookie(request) ? page() : lockedPage();
}

HttpResponse Console::machines()
{
    json::array list;
    for (MachineOverview const& one : connections.overview()) {
        StoredMachine const& machine = one.machine.machine;
        json::array active;
        for (StoredConnection const& connection : one.connections)
            active.push_back(connectionObject(connection));
        list.push_back({{"id", machine.id},
                        {"name", displayName(machine)},
                        {"kind", rawValue(machine.kind)},
                        {"machine", records::toJson(machineRecord(one.machine))},
                        {"connections", std::move(active)}});
    }
    return jsonResponse(200, json::object{{"machines", std::move(list)}});
}

} // namespace zelvo::service
