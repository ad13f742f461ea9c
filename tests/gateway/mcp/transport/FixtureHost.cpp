#include "gateway/mcp/transport/FixtureHost.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/ToolSchemas.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <chrono>
#include <utility>

namespace zelvo::service {

namespace {

using namespace std::chrono_literals;

/// Four blue pixels.
constexpr char const* picture = "iVBORw0KGgoAAAANSUhEUgAAAAIAAAACCAIAAAD91JpzAAAAEElEQVR42mMw"
                                "TjsDRAwQCgAktgWVzrvqagAAAABJRU5ErkJggg==";

/// Keywords of a JSON Schema that a list of tools must not lose.
constexpr char const* richSchema = R"({
    "$schema": "https://json-schema.org/draft/2020-12/schema",
    "type": "object",
    "$defs": {"address": {"$anchor": "addressDef", "type": "object", "properties": {"city": {"type": "string"}}}},
    "properties": {
        "kind": {"type": "string", "enum": ["post", "call"]},
        "place": {"$ref": "#/$defs/address"},
        "number": {"type": "string"}
    },
    "allOf": [{"anyOf": [{"required": ["place"]}, {"required": ["number"]}]}],
    "if": {"properties": {"kind": {"const": "post"}}, "required": ["kind"]},
    "then": {"required": ["place"]},
    "else": {"required": ["number"]},
    "additionalProperties": false
})";

McpTool tool(std::string name, json::object schema = schema::object({}))
{
    return {.name = name,
            .title = name,
            .description = "A tool of the tests.",
            .inputSchema = std::move(schema),
            .hints = {.isReadOnly = true}};
}

} // namespace

class FixtureHost::Runner final : public ToolRunner {
public:
    explicit Runner(std::shared_ptr<Held> held) : held(std::move(held)) {}

    Task<McpToolResult> run(McpCall call, Report report) override
    {
        McpToolResult result;
        if (call.tool == "test_image_content") {
            result.content.push_back({.text = picture, .mimeType = "image/png"});
        } else if (call.tool == "test_error_handling") {
            result.isError = true;
            result.content.push_back({.text = "This tool intentionally returns an error for testing"});
        } else if (call.tool == "test_tool_with_progress" || call.tool == "test_streaming_elicitation") {
            co_await reportAll(std::move(report));
            result.content.push_back({.text = "Done"});
        } else if (call.tool == "test_missing_capability") {
            throw JsonRpcError{.code = JsonRpcCode::missingCapability,
                               .message = "The client must be able to sample",
                               .data =
                                   json::object{{"requiredCapabilities", {{"sampling", json::object()}}}}};
        } else if (call.tool == "test_hold") {
            co_await hold(std::chrono::milliseconds(read::integer(call.arguments, "ms").value_or(0)));
            result.content.push_back({.text = "Held"});
        } else if (call.tool == "test_held") {
            result.content.push_back({.text = std::to_string(held->open) + " open, " +
                                              std::to_string(held->cancelled) + " cancelled"});
        } else {
            result.content.push_back({.text = "This is a simple text response for testing."});
        }
        co_return result;
    }

private:
    Task<> reportAll(Report report)
    {
        for (double const value : {0.0, 50.0, 100.0}) {
            report(value, "step");
            co_await sleep(50ms);
        }
    }

    static Task<> sleep(std::chrono::milliseconds duration)
    {
        asio::steady_timer timer(co_await asio::this_coro::executor, duration);
        co_await timer.async_wait(asio::use_awaitable);
    }

    Task<> hold(std::chrono::milliseconds duration)
    {
        ++held->open;
        try {
            co_await sleep(duration);
        } catch (...) {
            --held->open;
            ++held->cancelled;
            throw;
        }
        --held->open;
    }

    std::shared_ptr<Held> held;
};

void FixtureHost::assertReaches(McpTarget const& target)
{
    if (!target.address.connection.empty() && target.address.connection != "con_1")
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
}

std::shared_ptr<McpServer const> FixtureHost::server(McpAddress const&)
{
    McpServer server{.name = "zelvo-tests",
                     .title = "Tools of the tests",
                     .version = "1.0.0",
                     .instructions = "Call them.",
                     .tools = {}};
    for (char const* const name :
         {"test_simple_text", "test_image_content", "test_error_handling", "test_tool_with_progress",
          "test_held", "test_missing_capability", "test_streaming_elicitation", "test_logging_tool"})
        server.tools.push_back(tool(name));
    server.tools.push_back(tool("test_hold", schema::object({{"ms", schema::integer(0, 3'600'000)}})));
    server.tools.push_back(tool("json_schema_2020_12_tool", parseJson(richSchema).value().as_object()));
    return std::make_shared<McpServer const>(std::move(server));
}

std::shared_ptr<ToolRunner> FixtureHost::newRunner(McpTarget const&)
{
    return std::make_shared<Runner>(held);
}

} // namespace zelvo::service
