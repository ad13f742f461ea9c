#include "state/ComputerAgents.h"

#include "base/DateText.h"
#include "wire/records/Connections.h"

namespace zelvo {

namespace {

ComputerAgent agentFrom(records::HolderClass record, Date now)
{
    return {std::move(record.ref), std::move(record.name), std::move(record.task),
            std::move(record.connectionId), dates::parseIso8601(record.since).value_or(now)};
}

std::vector<ComputerAgent> agentsFrom(std::vector<records::HolderClass> list, Date now)
{
    std::vector<ComputerAgent> agents;
    agents.reserve(list.size());
    for (records::HolderClass& record : list)
        agents.push_back(agentFrom(std::move(record), now));
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
    auto update = records::fromJson<records::AgentsUpdate>(params);
    if (!update)
        return none();
    ComputerAgents agents;
    if (update->holder)
        agents.holder = agentFrom(*std::move(update->holder), now);
    agents.waiting = agentsFrom(std::move(update->waiting), now);
    agents.paused = agentsFrom(std::move(update->paused), now);
    return agents;
}

} // namespace zelvo
