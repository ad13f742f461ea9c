#pragma once

#include "gateway/support/HttpClient.h"

#include <string>
#include <string_view>

namespace zelvo::service {

/// Requests to "/mcp" as clients send them.
class McpHttpClient {
public:
    explicit McpHttpClient(std::uint16_t port, std::string key = "key-a") : port(port), key(std::move(key)) {}

    std::string target = "/mcp";
    std::string accept = "application/json, text/event-stream";
    Headers headers = {}; ///< further ones

    Answer send(std::string const& method, std::string const& body = {}, Headers more = {}) const
    {
        return request(port, method, target, body, headersWith(std::move(more)));
    }
    Answer post(std::string const& body, Headers more = {}) const
    {
        return send("POST", body, std::move(more));
    }

    /// A request that says its version itself, with the headers that repeat it.
    Answer
    modern(std::string const& method, std::string const& params = "", std::string const& name = "") const
    {
        return post(modernBody(method, params), modernHeaders(method, name));
    }
    Answer call(std::string const& tool, std::string const& arguments = "{}") const
    {
        return modern("tools/call", callParams(tool, arguments), tool);
    }

    /// Begins a session; returns its id.
    std::string initialize(std::string const& version = "2025-11-25") const
    {
        return post(handshake(version)).headers["mcp-session-id"];
    }
    /// In a session.
    Answer inSession(std::string const& session, std::string const& body) const
    {
        return post(body, {{"Mcp-Session-Id", session}});
    }

    /// A whole request as bytes, for a connection that the test keeps.
    std::string bytes(std::string const& method, std::string const& body = {}, Headers more = {}) const
    {
        std::string text =
            method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n";
        for (auto const& [name, value] : headersWith(std::move(more)))
            text += name + ": " + value + "\r\n";
        return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    static std::string
    message(std::string const& id, std::string const& method, std::string const& params = "{}")
    {
        return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method + R"(","params":)" + params + "}";
    }
    static std::string notification(std::string const& method, std::string const& params = "{}")
    {
        return R"({"jsonrpc":"2.0","method":")" + method + R"(","params":)" + params + "}";
    }
    static std::string handshake(std::string const& version = "2025-11-25")
    {
        return message("0", "initialize",
                       R"({"protocolVersion":")" + version +
                           R"(","capabilities":{},"clientInfo":{"name":"tester","version":"1"}})");
    }
    static std::string modernBody(std::string const& method, std::string const& params = "")
    {
        return message("1", method,
                       "{" + params + (params.empty() ? "" : ",") +
                           R"("_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",)"
                           R"("io.modelcontextprotocol/clientCapabilities":{},"progressToken":"p"}})");
    }
    static Headers modernHeaders(std::string const& method, std::string const& name = "")
    {
        Headers all{{"MCP-Protocol-Version", "2026-07-28"}, {"Mcp-Method", method}};
        if (!name.empty())
            all.emplace_back("Mcp-Name", name);
        return all;
    }
    static std::string callParams(std::string const& tool, std::string const& arguments = "{}")
    {
        return R"("name":")" + tool + R"(","arguments":)" + arguments;
    }

private:
    Headers headersWith(Headers more) const
    {
        Headers all{{"Authorization", "Bearer " + key}, {"Content-Type", "application/json"}};
        if (!accept.empty())
            all.emplace_back("Accept", accept);
        all.insert(all.end(), headers.begin(), headers.end());
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    std::uint16_t port;
    std::string key;
};

} // namespace zelvo::service
