#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/Routes.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// What the console's page shows of how an MCP client is connected. The key is not in it: the client's
/// program reads it from its file, or the client from the environment. Thread: the server's.
class McpSetup {
public:
    /// program   the gateway's own, with its whole path
    McpSetup(AccessControl const& access, Settings const& settings, std::string program)
        : access(access), settings(settings), program(std::move(program))
    {
    }

    std::vector<Route> routes();

private:
    /// {"command", "arguments", "url", "keyFile", "keyVariable"}
    HttpResponse answer(HttpRequest const& request) const;
    Task<HttpResponse> handle(HttpRequest request, PathIds ids);

    AccessControl const& access;
    Settings const& settings;
    std::string program;
};

} // namespace zelvo::service
