#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "ZelvoGateway/mcp/tools/Tools.h"

#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t maxClipboard = 20'000; // of cost

} // namespace

Task<McpToolResult> clipboardRead(MachineCallPtr call, json::object)
{
    CommandResult const result = co_await call->run("clipboard.get");
    json::object const* const clipboard = result.value.if_object();
    json::value const* const text = clipboard ? clipboard->if_contains("text") : nullptr;
    tooltext::Answer answer;
    if (!text || !text->is_string() || text->get_string().empty()) {
        answer.first("The clipboard has no text.");
    } else {
        auto const shorten = [text] { return tooltext::headAndTail(text->get_string(), maxClipboard); };
        answer.first("The clipboard's text:");
        answer.add(co_await readAnswer(call, result.bytes, shorten));
        answer.holdsData();
    }
    co_return McpToolResult{.content = {{.text = answer.text()}}};
}

Task<McpToolResult> clipboardWrite(MachineCallPtr call, json::object arguments)
{
    json::object params;
    params.emplace("text", std::move(arguments.at("text")));
    co_await call->runOnce("clipboard.set", std::move(params));
    co_return McpToolResult{.content = {{.text = "ok · the clipboard has the text"}}};
}

} // namespace zelvo::service
