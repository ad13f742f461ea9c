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
    std::optional<ToolFailure> failed;
    try {
        co_await run.run();
    } catch (ToolFailure const& failure) {
        failed = failure;
    }
    std::string const count = std::to_string(run.count());
    std::string status = failed ? "" : "ok " + count + "/" + count;
    co_return co_await observed(call, std::move(status), std::move(failed), std::move(request));
}

} // namespace zelvo::service
