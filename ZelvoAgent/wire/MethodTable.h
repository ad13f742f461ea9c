#pragma once

#include "wire/AgentScope.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace zelvo {

/// Who sends a method, and how a machine treats it.
enum class MethodUse {
    command,  ///< a platform sends it; the machine checks and carries it out
    offer,    ///< only the gateway sends it; the machine checks and carries it out
    service,  ///< only the gateway sends it; the machine answers in any state, for any connection
    report,   ///< only the machine sends it
    unserved, ///< a name of the schema that no machine carries out
};

/// States that a method needs no scope.
inline constexpr std::nullopt_t noScope = std::nullopt;

/// A row of the method table. A row without a scope or `noScope` does not compile.
struct Method {
    std::string_view name;
    std::optional<AgentScope> scope;
    MethodUse use;

    constexpr Method(std::string_view name, std::optional<AgentScope> scope, MethodUse use)
        : name(name), scope(scope), use(use)
    {
    }

    constexpr bool isServed() const
    {
        return use == MethodUse::command || use == MethodUse::offer || use == MethodUse::service;
    }
    constexpr bool isService() const { return use == MethodUse::service; }
    /// False for what the gateway and the machine say to each other on their own account.
    constexpr bool isForPlatforms() const { return use == MethodUse::command || use == MethodUse::unserved; }
};

/// Every method of the wire. router/ has a handler for each one that is served.
inline constexpr std::array methods = {
    Method{"hello", noScope, MethodUse::unserved},
    Method{"heartbeat", noScope, MethodUse::report},
    Method{"display.info", noScope, MethodUse::command},
    Method{"permissions.get", noScope, MethodUse::command},
    Method{"screenshot", AgentScope::screen, MethodUse::command},
    Method{"screen.settle", AgentScope::screen, MethodUse::command},
    Method{"actions.perform", AgentScope::input, MethodUse::command},
    Method{"cursor.position", AgentScope::screen, MethodUse::command},
    Method{"ui.tree", AgentScope::screen, MethodUse::command},
    Method{"ui.wait", AgentScope::screen, MethodUse::command},
    Method{"shell.run", AgentScope::shell, MethodUse::command},
    Method{"clipboard.get", AgentScope::clipboard, MethodUse::command},
    Method{"clipboard.set", AgentScope::clipboard, MethodUse::command},
    Method{"apps.open", AgentScope::input, MethodUse::command},
    Method{"apps.activate", AgentScope::input, MethodUse::command},
    Method{"apps.list", AgentScope::screen, MethodUse::command},
    Method{"windows.list", AgentScope::screen, MethodUse::command},
    Method{"urls.open", AgentScope::input, MethodUse::command},
    Method{"files.upload.begin", AgentScope::files, MethodUse::command},
    Method{"files.upload.chunk", AgentScope::files, MethodUse::unserved},
    Method{"files.upload.end", AgentScope::files, MethodUse::unserved},
    Method{"files.download", AgentScope::files, MethodUse::command},
    Method{"queue.offer", noScope, MethodUse::offer},
    Method{"connection.grant", noScope, MethodUse::command},
    Method{"connection.revoke", noScope, MethodUse::service},
    Method{"connections.names", noScope, MethodUse::service},
    Method{"agents.update", noScope, MethodUse::service},
    Method{"system.reboot", noScope, MethodUse::unserved},
    Method{"vnc.open", noScope, MethodUse::unserved},
    Method{"vnc.close", noScope, MethodUse::unserved},
};

/// The row of exactly this name; null if there is none.
constexpr Method const* methodNamed(std::string_view name)
{
    auto const* const found = std::ranges::find(methods, name, &Method::name);
    return found == methods.end() ? nullptr : &*found;
}

} // namespace zelvo
