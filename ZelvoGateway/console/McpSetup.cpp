#include "ZelvoGateway/console/McpSetup.h"

#include <filesystem>

namespace zelvo::service {

std::vector<Route> McpSetup::routes()
{
    return {{.method = "GET",
             .pattern = {"console", "mcp"},
             .maxBody = 0,
             .assertAccess = [this](HttpRequest const& head) { access.assertConsole(head); },
             .answer = [this](HttpRequest request,
                              PathIds ids) { return handle(std::move(request), std::move(ids)); }}};
}

Task<HttpResponse> McpSetup::handle(HttpRequest request, PathIds)
{
    co_return answer(request);
}

HttpResponse McpSetup::answer(HttpRequest const& request) const
{
    std::filesystem::path const data = std::filesystem::absolute(settings.dataFolder).lexically_normal();
    return jsonResponse(200, json::object{{"command", program},
                                          {"arguments", {"mcp", "--data", data.string()}},
                                          {"url", access.addressFor(request) + "/mcp"},
                                          {"keyFile", (data / "api-key").string()},
                                          {"keyVariable", "ZELVO_API_KEY"}});
}

} // namespace zelvo::service
