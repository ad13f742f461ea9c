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
    using Check = std::function<void(HttpRequest const& head)>;
    auto const route = [&](std::string_view method, std::vector<std::string_view> pattern, Check check,
                           Answer answer) {
        auto const kept = std::make_shared<Answer const>(std::move(answer));
        return Route{.method = method,
                     .pattern = std::move(pattern),
                     .maxBody = limits.linkBody,
                     .assertAccess = std::move(check),
                     .answer = [kept](HttpRequest request, PathIds ids) {
                         return answered(kept.get(), std::move(request), std::move(ids));
                     }};
    };
    Check const open;
    auto const console = [this](HttpRequest const& head) { access.assertConsole(head); };
    auto const ownPage = [this](HttpRequest const& head) { access.assertOwnPage(head); };
    auto const page = [&](std::vector<std::string_view> pattern, HttpResponse (*content)()) {
        return route("GET", std::move(pattern), open,
                     [this, content](HttpRequest const& request, auto const&) {
                         auto redirect = redirectToHome(access, request);
                         return redirect ? *std::move(redirect) : content();
                     });
    };
    return {
        page({}, consolePage),
        page({"recordings"}, recordingsPage),
        page({"api-keys"}, apiKeysPage),
        page({"docs"}, docsPage),
        page({"open"}, openPage),
        page({"locked"}, lockedPage),
        route("GET", {"page", "*"}, open,
              [](auto const&, PathIds const& ids) { return fileNamed(ids.front()); }),
        route("POST", {"console", "session"}, ownPage,
              [this](HttpRequest const& request, auto const&) { return lock.begin(request); }),
        route("DELETE", {"console", "session"}, console,
              [this](HttpRequest const& request, auto const&) { return lock.end(request); }),
        route("GET", {"console", "machines"}, console,
              [this](auto const&, auto const&) { return machines(); }),
        route("GET", {"console", "keys"}, console, [this](auto const&, auto const&) { return keys.list(); }),
        route("POST", {"console", "keys"}, console,
              [this](HttpRequest const& request, auto const&) { return keys.add(request); }),
        route("DELETE", {"console", "keys", "*"}, console,
              [this](auto const&, PathIds const& ids) { return keys.revoke(ids.front()); })};
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
