#include "McpLine.h"

#include <stdexcept>

namespace zelvo {

namespace {

constexpr char const* version = "2026-07-28";

/// The JSON of an answer, which may be the last event of a stream.
std::string_view messageIn(std::string_view answer)
{
    constexpr std::string_view data = "data: {";
    std::size_t const event = answer.rfind(data);
    if (event == answer.npos)
        return answer;
    std::string_view const rest = answer.substr(event + data.size() - 1);
    return rest.substr(0, rest.find_first_of("\r\n"));
}

} // namespace

McpLine::McpLine(std::uint16_t port,
                 std::string const& connection,
                 std::string const& authorization,
                 std::string tool)
    : tool(std::move(tool)), line(port,
                                  "/mcp/" + connection,
                                  {authorization, "Accept: application/json, text/event-stream",
                                   std::string("MCP-Protocol-Version: ") + version, "Mcp-Method: tools/call",
                                   "Mcp-Name: " + this->tool})
{
}

std::string const& McpLine::call(json::object const& arguments)
{
    json::object const meta{{"io.modelcontextprotocol/protocolVersion", version},
                            {"io.modelcontextprotocol/clientCapabilities", json::object()},
                            {"io.modelcontextprotocol/clientInfo", {{"name", "bench"}, {"version", "1"}}}};
    json::object const request{{"jsonrpc", "2.0"},
                               {"id", 1},
                               {"method", "tools/call"},
                               {"params", {{"name", tool}, {"arguments", arguments}, {"_meta", meta}}}};
    return line.post(writeJson(request));
}

std::string McpLine::textOf(json::object const& arguments)
{
    std::string const& answer = call(arguments);
    auto const message = parseJson(messageIn(answer));
    json::object const* const result =
        message && message->is_object() ? read::object(message->as_object(), "result") : nullptr;
    if (!result || read::boolean(*result, "isError").value_or(false))
        throw std::runtime_error(tool + ": " + answer.substr(0, 1000));
    std::string text;
    for (json::value const& part : result->at("content").as_array())
        if (part.at("type") == "text")
            text += std::string(part.at("text").as_string());
    return text;
}

} // namespace zelvo
