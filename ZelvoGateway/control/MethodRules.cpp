#include "ZelvoGateway/control/MethodRules.h"

#include "ZelvoGateway/base/Failure.h"
#include "wire/MethodTable.h"
#include "wire/ScopePolicy.h"

#include <string>

namespace zelvo::service::MethodRules {

void assertForPlatforms(std::string_view method)
{
    Method const* const row = methodNamed(method);
    if (row && !row->isForPlatforms())
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

} // namespace zelvo::service::MethodRules
