#include "ZelvoGateway/mcp/tools/ActionRun.h"
#include "ZelvoGateway/mcp/tools/Observation.h"
#include "ZelvoGateway/mcp/tools/Tools.h"

#include <utility>

namespace zelvo::service {

namespace {

constexpr std::int64_t usualQuietMs = 300;

} // namespace

Task<McpToolResult> desktopAct(MachineCallPtr call, json::object arguments)
{
    json::array const* const actions = read::array(arguments, "actions");
    if (!actions)
        throw ToolFailure{.code = ErrorCode::invalidRequest, .what = R"("actions" is missing)"};
    ActionRun run(call, actionRequests(*actions), read::text(arguments, "expectApp").value_or(""));
    ObservationRequest request{.what = read::text(arguments, "observe").value_or("tree"),
                               .settleMs = read::integer(arguments, "settle").value_or(usualQuietMs)};
    Deed deed;
    try {
        co_await run.run();
        std::string const count = std::to_string(run.count());
        deed.status = "ok " + count + "/" + count;
    } catch (ToolFailure const& failure) {
        deed.failure = failure;
    }
    co_return co_await observed(call, std::move(deed), std::move(request));
}

} // namespace zelvo::service
