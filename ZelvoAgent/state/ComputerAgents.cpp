#include "state/ComputerAgents.h"

#include "base/DateText.h"
#include "state/StoredList.h"

namespace zelvo {

namespace {

std::optional<ComputerAgent> agentFrom(json::value const& value, Date now)
{
    json::object const* const object = value.if_object();
    if (!object)
        return std::nullopt;
    auto const ref = read::text(*object, "ref");
    auto const name = read::text(*object, "name");
    auto const since = read::text(*object, "since");
    auto const task = stored::optionalText(*object, "task");
    auto const connectionId = stored::optionalText(*object, "connectionId");
    if (!ref || !name || !since || !task || !connectionId)
        return std::nullopt;
    return ComputerAgent{*ref, *name, *task, *connectionId, dates::parseIso8601(*since).value_or(now)};
}

std::optional<std::vector<ComputerAgent>>
agentsFrom(json::object const& params, std::string_view key, Date now)
{
    json::array const* const array = read::array(params, key);
    if (!array)
        return std::nullopt;
    std::vector<ComputerAgent> agents;
    for (json::value const& value : *array) {
        auto agent = agentFrom(value, now);
        if (!agent)
            return std::nullopt;
        agents.push_back(*std::move(agent));
    }
    return agents;
}

} // namespace

ComputerAgents const& ComputerAgents::none()
{
    static ComputerAgents const nobody;
    return nobody;
}

ComputerAgents ComputerAgents::parse(json::object const& params, Date now)
{
    ComputerAgents agents;
    auto waiting = agentsFrom(params, "waiting", now);
    auto paused = agentsFrom(params, "paused", now);
    if (!waiting || !paused)
        return none();
    agents.waiting = *std::move(waiting);
    agents.paused = *std::move(paused);
    if (json::value const* const holder = params.if_contains("holder"); holder && !holder->is_null()) {
        agents.holder = agentFrom(*holder, now);
        if (!agents.holder)
            return none();
    }
    return agents;
}

} // namespace zelvo
