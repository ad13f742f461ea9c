// Serves "/mcp" with the tools of the tests until its input ends. Usage: mcp_fixture_server [open]
// Prints the port as the only line. "open" serves everybody, for clients that can send no key.
#include "gateway/mcp/transport/FixtureHost.h"
#include "gateway/mcp/transport/McpTestServer.h"

#include <unistd.h>

#include <iostream>
#include <string_view>

int main(int count, char** arguments)
{
    using namespace zelvo::service;
    FixtureHost host;
    McpTestServer server(host, {.needsKey = count < 2 || std::string_view(arguments[1]) != "open"});
    std::cout << server.port() << std::endl;
    char ignored = 0;
    while (::read(STDIN_FILENO, &ignored, 1) > 0) {
    }
    return 0;
}
