#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/mcp/transport/McpHost.h"
#include "base/Clock.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// The conversations of clients without sessions: what such a client's calls share is found by its key and
/// its address. One ends some time after its last request, or when its key has too many that are newer.
/// Thread: the server's.
class McpConversations {
public:
    McpConversations(McpHost& host, McpRules const& rules, Clock const& clock)
        : host(host), rules(rules), clock(clock)
    {
    }

    std::shared_ptr<ToolRunner> of(McpTarget const& target);
    void forgetIdle();
    void forgetKey(std::string const& key);
    std::size_t count() const { return conversations.size(); }

private:
    struct Conversation {
        std::shared_ptr<ToolRunner> runner;
        Instant used;
    };
    using Conversations = std::map<McpTarget, Conversation>;

    void makeRoom(std::string const& key);

    McpHost& host;
    McpRules const& rules;
    Clock const& clock;
    Conversations conversations;
};

} // namespace zelvo::service
