#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "ZelvoGateway/mcp/tools/Tools.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::int64_t usualMaxChars = 10'000;
constexpr std::size_t maxOutput = 40'000; // of cost, both outputs together

std::string_view textIn(json::object const& result, std::string_view key)
{
    json::value const* const text = result.if_contains(key);
    return text && text->is_string() ? std::string_view(text->get_string()) : std::string_view();
}

std::string statusOf(json::object const& result)
{
    std::string status = "exit code " + std::to_string(read::integer(result, "exitCode").value_or(-1)) +
                         " · " + std::to_string(read::integer(result, "durationMs").value_or(0)) + " ms";
    if (read::boolean(result, "timedOut").value_or(false))
        status += " · ended by the time-out";
    return status;
}

void addOutput(tooltext::Answer& answer, std::string_view name, std::string_view output, std::size_t cost)
{
    if (output.empty())
        return;
    answer.add(std::string(name) + ":");
    std::string shown = tooltext::headAndTail(output, cost);
    while (shown.ends_with('\n'))
        shown.pop_back();
    answer.add(std::move(shown));
    answer.holdsData();
}

/// room   for both outputs; errors get at least half of it if they need it
std::string textOf(json::object const& result, std::size_t room)
{
    std::string_view const output = textIn(result, "stdout");
    std::string_view const errors = textIn(result, "stderr");
    std::size_t const forOutput = std::min(room, tooltext::costOf(output));
    std::size_t const forErrors = std::min(tooltext::costOf(errors), std::max(room / 2, room - forOutput));
    tooltext::Answer answer;
    answer.first(statusOf(result));
    if (output.empty() && errors.empty())
        answer.add(std::string("no output"));
    addOutput(answer, "stdout", output, room - forErrors);
    addOutput(answer, "stderr", errors, forErrors);
    if (read::boolean(result, "truncated").value_or(false))
        answer.add(std::string("The machine cut the output after its first MiB."));
    return answer.text();
}

} // namespace

Task<McpToolResult> shellRun(MachineCallPtr call, json::object arguments)
{
    std::int64_t const maxChars = read::integer(arguments, "maxChars").value_or(usualMaxChars);
    json::object params;
    for (std::string_view const key : {"command", "cwd", "env", "timeoutMs"})
        if (json::value* const value = arguments.if_contains(key))
            params.emplace(key, std::move(*value));
    CommandResult const ran = co_await call->run("shell.run", std::move(params));
    json::object const* const result = ran.value.if_object();
    if (!result)
        throw ToolFailure{.code = ErrorCode::internalError, .what = "The machine's answer makes no sense"};

    auto const room = std::min(static_cast<std::size_t>(maxChars), maxOutput);
    auto const describe = [result, room] { return textOf(*result, room); };
    std::string text = co_await readAnswer(call, ran.bytes, describe);
    co_return McpToolResult{.content = {{.text = std::move(text)}}};
}

} // namespace zelvo::service
