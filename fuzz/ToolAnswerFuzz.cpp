#include "ZelvoGateway/mcp/ArgumentCheck.h"
#include "ZelvoGateway/mcp/DesktopTools.h"
#include "ZelvoGateway/mcp/tools/DesktopToolRunner.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "base/Text.h"
#include "fakes/ManualClock.h"
#include "gateway/mcp/tools/FakeDesktopCommands.h"

#include <boost/asio/co_spawn.hpp>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

namespace {

using namespace zelvo;
using namespace zelvo::service;

constexpr std::size_t maxCommands = 200;

/// A machine that answers every command with the next of the given values; those with "error" are failures.
class Machine : public DesktopCommands {
public:
    explicit Machine(json::array answers) : answers(std::move(answers)) {}

    std::vector<ReachedMachine> machines() override
    {
        return {{.connection = "con_1",
                 .name = "desk",
                 .isOnline = true,
                 .display = DisplaySize{.width = 1600, .height = 900}}};
    }
    Task<CommandResult> run(DesktopCommand) override
    {
        if (answers.empty() || ++count > maxCommands)
            throw Failure{.code = ErrorCode::machineOffline, .message = "Gone", .requestId = "req_1"};
        json::value const& answer = answers[count % answers.size()];
        if (json::object const* const object = answer.if_object(); object && object->contains("error"))
            throw Failure{.code = fromRawValue<ErrorCode>(read::text(*object, "error").value_or(""))
                                      .value_or(ErrorCode::internalError),
                          .message = read::text(*object, "message").value_or("It failed"),
                          .requestId = "req_1"};
        co_return CommandResult{.value = answer};
    }

private:
    json::array answers;
    std::size_t count = 0;
};

/// What a client gets is short, and has no controls other than line ends and tabs.
void assertHarmless(McpToolResult const& result)
{
    std::size_t const longest = result.isError ? tooltext::maxFailureCost : 50'000;
    for (McpContent const& piece : result.content) {
        if (!piece.mimeType.empty())
            continue;
        if (tooltext::costOf(piece.text) > longest || !text::isUtf8(piece.text) ||
            tooltext::plainLines(piece.text) != piece.text)
            std::abort();
    }
}

void carryOut(json::array const& calls, json::array answers)
{
    asio::io_context io;
    ManualClock clock(&io);
    MemoryBudget memory(64 << 20);
    {
        DesktopToolRunner runner({.commands = std::make_shared<Machine>(std::move(answers)),
                                  .clock = clock,
                                  .server = io.get_executor(),
                                  .workers = io.get_executor()},
                                 {.key = "key_1",
                                  .memory = memory,
                                  .turns = std::make_shared<CallTurns>(io.get_executor(), clock),
                                  .numbers = std::make_shared<ReferenceNumbers>()});
        static McpServer const server{.tools = desktopTools({.hasComputerTool = true})};
        for (json::value const& item : calls) {
            json::object const* const given = item.if_object();
            json::object const* const arguments = given ? read::object(*given, "arguments") : nullptr;
            McpTool const* const tool =
                arguments ? server.find(read::text(*given, "tool").value_or("")) : nullptr;
            if (!tool || argumentProblem(tool->inputSchema, *arguments))
                continue;
            std::optional<McpToolResult> result;
            McpCall call{.tool = tool->name, .arguments = *arguments};
            asio::co_spawn(io, runner.run(std::move(call), nullptr),
                           [&](std::exception_ptr, McpToolResult given) { result = std::move(given); });
            for (int seconds = 0; seconds < 60 && !result; ++seconds)
                clock.advance(std::chrono::seconds(1));
            if (!result)
                std::abort(); // Every call is answered before clients give up.
            assertHarmless(*result);
        }
    }
    clock.advance(std::chrono::hours(1));
    clock.dropSleepers();
    if (memory.available() != 64 << 20)
        std::abort();
}

} // namespace

/// The input is a list of calls and a list of what the machine answers:
/// {"calls":[{"tool":"desktop_see","arguments":{}}],"answers":[{"elements":[]}]}
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const input = parseJson({reinterpret_cast<char const*>(data), size});
    json::object const* const object = input ? input->if_object() : nullptr;
    json::array const* const calls = object ? read::array(*object, "calls") : nullptr;
    json::array const* const answers = object ? read::array(*object, "answers") : nullptr;
    if (calls && answers && calls->size() <= 20)
        carryOut(*calls, *answers);
    return 0;
}
