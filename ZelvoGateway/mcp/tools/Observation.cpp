#include "ZelvoGateway/mcp/tools/Observation.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/tools/Look.h"
#include "ZelvoGateway/mcp/tools/Settling.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zelvo::service {

namespace {

/// Nothing can be seen either.
bool isBlinding(ErrorCode code)
{
    switch (code) {
    case ErrorCode::machinePaused:
    case ErrorCode::agentPaused:
    case ErrorCode::machineUnavailable:
    case ErrorCode::machineOffline:
    case ErrorCode::notFound:
    case ErrorCode::unauthorized:
    case ErrorCode::forbidden:
    case ErrorCode::rateLimited:
        return true;
    default:
        return false;
    }
}

/// The parts of an observation as far as they were made.
struct Seen {
    std::optional<Settling> settling;
    std::optional<Look> look;
    std::optional<ToolFailure> failure;
};

Task<Seen> observe(MachineCallPtr call, ObservationRequest request)
{
    Seen seen;
    try {
        if (request.settleMs && *request.settleMs > 0)
            seen.settling = co_await settle(call, *request.settleMs);
        if (request.what != "none") {
            LookRequest looking{.view = call->seen().view};
            wantWhat(looking, request.what);
            if (auto const last = call->seen().lastShown())
                looking.since = last->name;
            seen.look = co_await look(call, std::move(looking));
        }
    } catch (ToolFailure const& failure) {
        seen.failure = failure;
    } catch (Failure const& failure) {
        seen.failure = toolFailure(failure);
    }
    co_return seen;
}

} // namespace

Task<McpToolResult> observed(MachineCallPtr call, Deed deed, ObservationRequest request)
{
    if (deed.failure && isBlinding(deed.failure->code))
        co_return failureResult(*deed.failure);
    Seen seen = co_await observe(call, std::move(request));

    std::string status = std::move(deed.status);
    if (seen.settling)
        status += (status.empty() ? "" : " · ") + settlingText(*seen.settling);
    if (seen.look && !seen.look->heading.empty())
        status += (status.empty() ? "" : " · ") + seen.look->heading;
    tooltext::Answer answer(deed.failure ? tooltext::maxFailureCost : tooltext::maxCost);
    answer.first(deed.failure ? failureLine(*deed.failure) : status);
    if (deed.failure) {
        answer.add(deed.failure->lines);
        if (!status.empty())
            answer.add(std::move(status));
    }
    answer.add(std::move(deed.lines));
    McpToolResult result{.content = {{}}, .isError = deed.failure.has_value()};
    if (seen.look) {
        answer.add(std::move(seen.look->lines));
        std::ranges::move(seen.look->pictures, std::back_inserter(result.content));
    }
    if (seen.failure)
        answer.add("What it looks like now cannot be shown: " + failureText(*seen.failure));
    bool const hasMachineFailure =
        (deed.failure && deed.failure->holdsData) || (seen.failure && seen.failure->holdsData);
    if (deed.holdsData || seen.look || hasMachineFailure)
        answer.holdsData();
    result.content.front().text = answer.text();
    co_return result;
}

} // namespace zelvo::service
