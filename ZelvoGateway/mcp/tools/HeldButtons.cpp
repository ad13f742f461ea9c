#include "ZelvoGateway/mcp/tools/HeldButtons.h"

#include <utility>

namespace zelvo::service {

namespace {

using Releases = std::map<std::string, json::object>;

/// Does not wait for control: the call that pressed a button still has it, and one that never got it has
/// pressed nothing.
Task<> perform(MachineCallPtr call, json::object action)
{
    json::array actions;
    actions.emplace_back(std::move(action));
    json::object params;
    params.emplace("actions", std::move(actions));
    co_await call->run("actions.perform", std::move(params), Duration{});
}

Task<std::vector<std::string>> releaseAll(MachineCallPtr call, Releases releases)
{
    std::vector<std::string> problems;
    for (auto const& [button, action] : releases) {
        try {
            co_await perform(call, action);
        } catch (Failure const& failure) {
            problems.push_back("The " + button + " button may still be held: it could not be released (" +
                               std::string(rawValue(failure.code)) + ").");
        }
    }
    co_return problems;
}

Task<> releaseQuietly(MachineCallPtr call, Releases releases)
{
    co_await releaseAll(std::move(call), std::move(releases));
}

} // namespace

HeldButtons::~HeldButtons()
{
    if (releases.empty())
        return;
    Executor const server = call->server();
    auto body = [call = std::move(call), releases = std::move(releases)] {
        return releaseQuietly(call, releases);
    };
    spawn(server, std::move(body));
}

bool HeldButtons::press(json::object const& mouseDown)
{
    json::object release = mouseDown;
    release["type"] = "mouse_up";
    return releases.emplace(read::text(mouseDown, "button").value_or("left"), std::move(release)).second;
}

Task<std::vector<std::string>> HeldButtons::release()
{
    std::vector<std::string> problems = co_await releaseAll(call, releases);
    releases.clear();
    co_return problems;
}

} // namespace zelvo::service
