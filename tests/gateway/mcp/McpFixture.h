#pragma once

#include "ZelvoGateway/mcp/McpSession.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelvo::service {

/// A session with a server of two tools, and what it sends as texts.
class McpFixture : public testing::Test {
protected:
    McpServer const server{
        .name = "zelvo",
        .title = "Zelvo",
        .version = "1.2.3",
        .instructions = "Look first.",
        .tools = {
            {.name = "look", .title = "Look", .description = "Looks.", .inputSchema = {{"type", "object"}}},
            {.name = "count",
             .title = "Count",
             .description = "Counts.",
             .inputSchema = parseJson(R"({"type":"object","properties":{"to":{"type":"integer"}},)"
                                      R"("required":["to"]})")
                                .value()
                                .as_object()}}};
    McpSession session{server};

    McpOutput receive(std::string_view text) { return session.receive(readJsonRpc(text)); }

    static std::string request(std::string_view id, std::string_view method, std::string_view params = "{}")
    {
        return R"({"jsonrpc":"2.0","id":)" + std::string(id) + R"(,"method":")" + std::string(method) +
               R"(","params":)" + std::string(params) + "}";
    }

    static std::string notification(std::string_view method, std::string_view params = "{}")
    {
        return R"({"jsonrpc":"2.0","method":")" + std::string(method) + R"(","params":)" +
               std::string(params) + "}";
    }

    /// Params of a request that says its version itself.
    static std::string modern(std::string_view more = "")
    {
        return "{" + std::string(more) +
               R"("_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",)"
               R"("io.modelcontextprotocol/clientCapabilities":{},)"
               R"("io.modelcontextprotocol/clientInfo":{"name":"tester","version":"1"},"progressToken":"p"}})";
    }

    McpOutput initialize(std::string_view version = "2025-11-25")
    {
        McpOutput output = receive(
            request("0", "initialize",
                    R"({"protocolVersion":")" + std::string(version) +
                        R"(","capabilities":{},"clientInfo":{"name":"tester","title":"The tester"}})"));
        receive(notification("notifications/initialized"));
        return output;
    }

    /// Begins a call of the tool "look".
    McpOutput look(std::string_view id = "1")
    {
        return receive(request(id, "tools/call", R"({"name":"look"})"));
    }

    static json::object body(McpOutput const& output)
    {
        EXPECT_EQ(output.messages.size(), 1U);
        return output.messages.empty() ? json::object() : output.messages.front().body.as_object();
    }

    static json::object result(McpOutput const& output)
    {
        json::object const message = body(output);
        json::object const* const result = read::object(message, "result");
        EXPECT_TRUE(result) << writeJson(message);
        return result ? *result : json::object();
    }

    /// The code of the only message, and whether it names a request: "-32600 of 1".
    static std::string error(McpOutput const& output)
    {
        json::object const message = body(output);
        json::object const* const error = read::object(message, "error");
        if (!error)
            return "no error: " + writeJson(message);
        EXPECT_EQ(static_cast<std::int64_t>(output.messages.front().error.value_or(JsonRpcCode())),
                  error->at("code").as_int64());
        std::string const code = writeJson(error->at("code"));
        return message.contains("id") ? code + " of " + writeJson(message.at("id")) : code;
    }

    static bool isSilent(McpOutput const& output)
    {
        return output.messages.empty() && output.calls.empty() && output.cancelled.empty();
    }

    static McpToolResult answer(std::string text) { return {.content = {{.text = std::move(text)}}}; }
};

} // namespace zelvo::service
