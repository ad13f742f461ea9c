#include "ZelvoGateway/exchange/nats/NodeTable.h"

namespace zelvo::service {

void NodeTable::heard(std::string const& node, std::string version, Instant now)
{
    nodes[node] = {.version = std::move(version), .heardAt = now};
}

std::vector<std::string> NodeTable::takeSilent(Instant now)
{
    std::vector<std::string> silent;
    std::erase_if(nodes, [&](auto const& node) {
        bool const isSilent = now - node.second.heardAt > maxSilence;
        if (isSilent)
            silent.push_back(node.first);
        return isSilent;
    });
    return silent;
}

std::map<std::string, std::string> NodeTable::versions() const
{
    std::map<std::string, std::string> all;
    for (auto const& [node, state] : nodes)
        all.emplace(node, state.version);
    return all;
}

} // namespace zelvo::service
