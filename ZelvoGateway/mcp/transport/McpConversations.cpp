#include "ZelvoGateway/mcp/transport/McpConversations.h"

namespace zelvo::service {

std::shared_ptr<ToolRunner> McpConversations::of(McpTarget const& target)
{
    forgetIdle();
    auto known = conversations.find(target);
    if (known == conversations.end()) {
        makeRoom(target.caller.keyId);
        known = conversations.emplace(target, Conversation{.runner = host.newRunner(target)}).first;
    }
    known->second.used = clock.now();
    return known->second.runner;
}

/// Forgets the one of a key that was unused for longest, if it has too many.
void McpConversations::makeRoom(std::string const& key)
{
    std::size_t count = 0;
    auto oldest = conversations.end();
    for (auto each = conversations.begin(); each != conversations.end(); ++each) {
        if (each->first.caller.keyId != key)
            continue;
        ++count;
        if (oldest == conversations.end() || each->second.used < oldest->second.used)
            oldest = each;
    }
    if (count >= rules.maxConversations)
        conversations.erase(oldest);
}

void McpConversations::forgetIdle()
{
    Instant const now = clock.now();
    std::erase_if(conversations, [&](auto const& each) {
        if (each.second.runner.use_count() > 1) // A call is open.
            return false;
        return now - each.second.used >= rules.conversationIdle;
    });
}

void McpConversations::forgetKey(std::string const& key)
{
    std::erase_if(conversations, [&](auto const& each) { return each.first.caller.keyId == key; });
}

} // namespace zelvo::service
