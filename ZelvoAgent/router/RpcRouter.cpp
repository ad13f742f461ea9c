#include "router/RpcRouter.h"

#include "base/Hop.h"
#include "base/Text.h"
#include "wire/ScopePolicy.h"

#include <boost/asio/strand.hpp>

#include <algorithm>

namespace zelvo {

namespace {

/// Housekeeping of the gateway itself, answered whatever the state of the machine.
constexpr std::array<std::string_view, 3> serviceMethods = {"connection.revoke", "connections.names",
                                                            "agents.update"};

constexpr std::size_t maxLoggedNameLength = 200; // Characters.

} // namespace

RpcRouter::RpcRouter(Contexts const& contexts, Clock& clock, AgentState& state, Members members)
    : contexts(contexts), clock(clock), state(state), members(std::move(members)),
      strand(asio::make_strand(contexts.agent)), snapshots(clock)
{
}

/// The method table. A name that is not here is an invalid request.
std::map<std::string_view, RpcRouter::Handler> const& RpcRouter::methods()
{
    static std::map<std::string_view, Handler> const table = {
        {"display.info", &RpcRouter::displayInfo},
        {"permissions.get", &RpcRouter::permissionsGet},
        {"screenshot", &RpcRouter::screenshot},
        {"ui.tree", &RpcRouter::uiTree},
        {"actions.perform", &RpcRouter::handleActions},
        {"cursor.position", &RpcRouter::cursorPosition},
        {"shell.run", &RpcRouter::handleShell},
        {"clipboard.get", &RpcRouter::handleClipboardGet},
        {"clipboard.set", &RpcRouter::clipboardSet},
        {"apps.open", &RpcRouter::appsOpen},
        {"apps.activate", &RpcRouter::appsActivate},
        {"apps.list", &RpcRouter::handleAppsList},
        {"windows.list", &RpcRouter::handleWindowsList},
        {"urls.open", &RpcRouter::handleOpenUrl},
        {"files.download", &RpcRouter::filesDownload},
        {"files.upload.begin", &RpcRouter::handleFileUpload},
        {"connection.grant", &RpcRouter::connectionGrant},
        {"connection.revoke", &RpcRouter::connectionRevoke},
        {"agents.update", &RpcRouter::agentsUpdate},
        {"connections.names", &RpcRouter::connectionsNames},
        {"queue.offer", &RpcRouter::queueOffer},
    };
    return table;
}

std::vector<std::string_view> RpcRouter::methodNames()
{
    std::vector<std::string_view> names;
    for (auto const& [name, handler] : methods())
        names.push_back(name);
    return names;
}

bool RpcRouter::isServiceMethod(std::string_view method)
{
    return std::ranges::find(serviceMethods, method) != serviceMethods.end();
}

Task<RpcReply> RpcRouter::handle(RpcFrame frame)
{
    auto body = [this, &frame]() -> Task<RpcReply> { return handleOnStrand(std::move(frame)); };
    co_return co_await runOn(strand, std::move(body));
}

Task<RpcReply> RpcRouter::handleOnStrand(RpcFrame frame)
{
    std::string const id = frame.id;
    try {
        co_await preflight(frame.method, frame.connectionId);
        json::value result = co_await dispatch(std::move(frame));
        co_return RpcReply::result(id, std::move(result));
    } catch (DetailedAgentError const& failure) {
        co_return RpcReply::failure(id, failure.error, failure.details, failure.message);
    } catch (AgentError const& failure) {
        co_return failureReply(id, failure);
    } catch (...) {
        // Nothing of a failure of the system reaches an agent.
        co_return RpcReply::failure(id, AgentError::internalError);
    }
}

/// Scope first, then pause and availability, then the system's permission: a connection without the scope
/// learns of that even when paused.
Task<> RpcRouter::preflight(std::string method, std::optional<std::string> connectionId)
{
    if (isServiceMethod(method))
        co_return;
    std::optional<AgentScope> const scope = ScopePolicy::required(method);
    co_await on(contexts.main, [&] {
        if (members.mode == AgentMode::connected && scope)
            state.assertScope(*scope, connectionId);
        state.assertReady();
    });
    Permissions const permissions = members.permissions();
    if ((scope == AgentScope::input && !permissions.accessibility) ||
        (scope == AgentScope::screen && !permissions.screenRecording))
        throw AgentError::permissionMissing;
}

Task<json::value> RpcRouter::dispatch(RpcFrame frame)
{
    auto const method = methods().find(frame.method);
    if (method == methods().end())
        throw AgentError::invalidRequest;
    return (this->*method->second)(std::move(frame));
}

RpcReply RpcRouter::failureReply(std::string id, AgentError error) const
{
    return RpcReply::failure(std::move(id), error, details(error));
}

std::optional<std::map<std::string, std::string>> RpcRouter::details(AgentError error) const
{
    if (error == AgentError::machineUnavailable)
        return {{{"reason", std::string(rawValue(state.currentAvailability()))}}};
    if (error == AgentError::permissionMissing)
        return {
            {{"permission", members.permissions().screenRecording ? "accessibility" : "screenRecording"}}};
    return std::nullopt;
}

std::optional<std::string> RpcRouter::loggedAgentName(std::optional<std::string> const& name)
{
    if (!name)
        return std::nullopt;
    return text::prefix(*name, maxLoggedNameLength);
}

Task<std::optional<GrantedConnection>> RpcRouter::connection(std::optional<std::string> id)
{
    return on(contexts.main, [this, id = std::move(id)] { return state.connection(id); });
}

Task<> RpcRouter::logLooked(std::optional<std::string> connectionId, std::optional<std::string> agentName)
{
    co_await on(contexts.main, [&] {
        if (auto const connection = state.connection(connectionId))
            state.logLooked(connection->platformName, connection->id, loggedAgentName(agentName),
                            clock.date());
    });
}

} // namespace zelvo
