#include "ZelvoGateway/control/Methods.h"

#include "ZelvoGateway/base/Failure.h"
#include "wire/ScopePolicy.h"

#include <algorithm>
#include <array>

namespace zelvo::service::methods {

namespace {

constexpr std::array<std::string_view, 5> ownMethods = {"agents.update", "connection.revoke",
                                                        "connections.names", "heartbeat", "queue.offer"};

} // namespace

void assertForPlatforms(std::string_view method)
{
    if (std::ranges::find(ownMethods, method) != ownMethods.end())
        throw Failure{.code = ErrorCode::forbidden,
                      .message = "\"" + std::string(method) + "\" is not for platforms to send"};
}

bool needsControl(std::string_view method)
{
    return ScopePolicy::required(method) == AgentScope::input;
}

bool takesConfirmationTime(std::string_view method)
{
    return method == "shell.run" || method == "urls.open";
}

bool wasNotStarted(std::string_view method, ErrorCode code)
{
    // A batch can be refused between two of its actions, and the first of them must not run twice.
    return method != "actions.perform" &&
           (code == ErrorCode::machinePaused || code == ErrorCode::machineUnavailable);
}

} // namespace zelvo::service::methods
