#include "ZelvoGateway/mcp/tools/Observation.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/tools/Look.h"
#include "ZelvoGateway/mcp/tools/Settling.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"

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

Task<McpToolResult> observed(MachineCallPtr call,
                             std::string status,
                             std::optional<ToolFailure> failure,
                             ObservationRequest request)
{
    if (failure && isBlinding(failure->code))
        co_return failureResult(*failure);
    Seen seen = co_await observe(call, std::move(request));

    tooltext::Answer answer;
    if (seen.settling)
        status += (status.empty() ? "" : " · ") + settlingText(*seen.settling);
    if (seen.look && !seen.look->heading.empty())
        status += (status.empty() ? "" : " · ") + seen.look->heading;
    if (failure) {
        answer.first(failureText(*failure));
        if (failure->holdsData)
            answer.holdsData();
        if (!status.empty())
            answer.add(std::move(status));
    } else {
        answer.first(std::move(status));
    }
    McpToolResult result{.content = {{}}, .isError = failure.has_value()};
    if (seen.look) {
        answer.holdsData();
        answer.add(std::move(seen.look->lines));
        for (McpContent& picture : seen.look->pictures)
            result.content.push_back(std::move(picture));
    }
    if (seen.failure) {
        answer.add("What it looks like now cannot be shown: " + failureText(*seen.failure));
        if (seen.failure->holdsData)
            answer.holdsData();
    }
    result.content.front().text = answer.text();
    co_return result;
}

} // namespace zelvo::service
