#include "ZelvoGateway/mcp/tools/DesktopToolRunner.h"

#include "ZelvoGateway/mcp/tools/MachineChoice.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "ZelvoGateway/mcp/tools/Tools.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo::service {

namespace {

using Tool = Task<McpToolResult> (*)(MachineCallPtr, json::object);
using ConversationPtr = std::shared_ptr<Conversation>;

constexpr std::array<std::pair<std::string_view, Tool>, 11> tools{{{"desktop_see", desktopSee},
                                                                   {"desktop_act", desktopAct},
                                                                   {"desktop_wait", desktopWait},
                                                                   {"app_list", appList},
                                                                   {"app_open", appOpen},
                                                                   {"clipboard_read", clipboardRead},
                                                                   {"clipboard_write", clipboardWrite},
                                                                   {"shell_run", shellRun},
                                                                   {"file_read", fileRead},
                                                                   {"file_write", fileWrite},
                                                                   {"computer", computer}}};

constexpr Duration waitMargin = 7s; // A wait of 45 s is answered itself, before clients give up.

Tool toolNamed(std::string_view name)
{
    auto const* const found = std::ranges::find(tools, name, [](auto const& row) { return row.first; });
    if (found == tools.end())
        throw ToolFailure{.code = ErrorCode::invalidRequest,
                          .what = "There is no tool " + tooltext::shownName(name),
                          .next = "list the tools"};
    return found->second;
}

/// What a call is doing, also before it has its turn.
struct Progress {
    std::weak_ptr<MachineCall> call; // Its turn ends with it, and a result is kept for longer.
    std::string text() const
    {
        auto const running = call.lock();
        return running ? running->activity() : "waiting for your other calls to end";
    }
};

Task<McpToolResult> carryOut(ConversationPtr conversation, McpCall call, std::shared_ptr<Progress> progress)
{
    Tool const tool = toolNamed(call.tool);
    ReachedMachine const machine =
        chosenMachine(conversation->machines(), read::text(call.arguments, "machine"));
    CallTurns::Turn turn = co_await conversation->turnOn(machine);
    auto const running = std::make_shared<MachineCall>(
        conversation->tools(), machine, conversation->seen(machine), std::move(call.client), std::move(turn));
    progress->call = running;
    McpToolResult result = co_await tool(running, std::move(call.arguments));
    conversation->weigh();
    co_return result;
}

McpToolResult pendingResult(std::string const& handle, std::string const& activity)
{
    return {.content = {{.text = "pending: not done yet, " + activity +
                                 ". Do not repeat the call. Next: wait "
                                 "with desktop_wait and op \"" +
                                 handle + "\"."}}};
}

McpToolResult unknownHandle(std::string const& handle)
{
    return failureResult({.code = ErrorCode::notFound,
                          .what = "There is no pending call " + tooltext::shownName(handle) +
                                  " in this conversation, or no longer",
                          .next = "look with desktop_see before you repeat anything"});
}

Task<McpToolResult> waitForPending(ConversationPtr conversation, McpCall call, ToolRunner::Report report)
{
    std::string const handle = read::text(call.arguments, "op").value_or("");
    auto const open = conversation->pending().find(handle);
    if (!open)
        co_return unknownHandle(handle);
    auto const longest =
        std::chrono::duration_cast<std::chrono::milliseconds>(DesktopToolRunner::maxAnswerTime);
    std::int64_t const ms = read::integer(call.arguments, "timeoutMs").value_or(longest.count());
    Clock const& clock = conversation->tools().clock;
    co_await open->wait(clock.now() + std::chrono::milliseconds(ms), std::move(report));
    if (open->hasEnded())
        co_return open->result();
    co_return pendingResult(handle, open->activityNow());
}

/// Cancels a call unless it became pending: when its client no longer waits, nobody asks for its result.
class CancelAtEnd {
public:
    explicit CancelAtEnd(std::shared_ptr<OpenCall> call) : call(std::move(call)) {}
    CancelAtEnd(CancelAtEnd const&) = delete;
    CancelAtEnd& operator=(CancelAtEnd const&) = delete;
    ~CancelAtEnd()
    {
        if (call && !call->hasEnded())
            call->cancel();
    }
    void letGo() { call.reset(); }

private:
    std::shared_ptr<OpenCall> call;
};

} // namespace

Task<McpToolResult> DesktopToolRunner::run(McpCall call, Report report)
{
    ConversationPtr const kept = conversation;
    ToolServices const& services = kept->tools();
    if (call.tool == "machine_list")
        co_return machineList(kept->machines());
    if (call.tool == "desktop_wait" && call.arguments.contains("op"))
        co_return co_await waitForPending(kept, std::move(call), std::move(report));
    Duration const patience = call.tool == "desktop_wait" ? maxAnswerTime + waitMargin : maxAnswerTime;
    auto const progress = std::make_shared<Progress>();
    auto const open = std::make_shared<OpenCall>(services.server, services.clock);
    CancelAtEnd cancelAtEnd(open);
    // Its arguments may be as large as a file, and functions are copied.
    auto const begun = std::make_shared<McpCall>(std::move(call));
    open->begin([kept, begun, progress] { return carryOut(kept, std::move(*begun), progress); },
                [progress] { return progress->text(); });
    co_await open->wait(services.clock.now() + patience, std::move(report));
    cancelAtEnd.letGo();
    if (open->hasEnded())
        co_return open->takeResult();
    std::string const handle = kept->newHandle();
    kept->pending().add(handle, open);
    co_return pendingResult(handle, progress->text());
}

} // namespace zelvo::service
