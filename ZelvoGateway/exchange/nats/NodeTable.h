#pragma once

#include "base/Clock.h"

#include <map>
#include <string>
#include <vector>

namespace zelvo::service {

/// The other nodes, by what they reported last.
/// Thread: the server's.
class NodeTable {
public:
    static constexpr Duration reportPeriod = 1s;
    static constexpr Duration maxSilence = 4s;

    void heard(std::string const& node, std::string version, Instant now);
    /// A node says that it ends.
    void remove(std::string const& node) { nodes.erase(node); }
    /// Removes the nodes that have been silent for too long, and returns them.
    std::vector<std::string> takeSilent(Instant now);
    /// Their versions, by node.
    std::map<std::string, std::string> versions() const;

private:
    struct Node {
        std::string version;
        Instant heardAt{};
    };
    std::map<std::string, Node> nodes;
};

} // namespace zelvo::service
