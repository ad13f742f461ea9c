#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/mcp/tools/CallTurns.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"
#include "ZelvoGateway/mcp/tools/PendingCalls.h"
#include "ZelvoGateway/mcp/tools/ReferenceNumbers.h"

#include <deque>
#include <memory>
#include <string>
#include <utility>

namespace zelvo::service {

/// Who a conversation is with, and what it is given.
struct ConversationOptions {
    std::string key;                           ///< the same for all conversations that share turns
    MemoryBudget memory;                       ///< of what it keeps
    std::shared_ptr<CallTurns> turns;          ///< of all conversations
    std::shared_ptr<ReferenceNumbers> numbers; ///< of all conversations
};

/// What is kept between the calls of one client.
/// Thread: the server's.
class Conversation {
public:
    static constexpr std::size_t maxMachines = 16;

    Conversation(ToolServices services, ConversationOptions options);

    /// The machines that the client reaches.
    std::vector<ReachedMachine> machines() const { return services.commands->machines(); }
    std::shared_ptr<SeenMachine> seen(ReachedMachine const& machine);
    /// Accounts for the memory of what was seen; forgets old trees if there is too little.
    void weigh();
    Task<CallTurns::Turn> turnOn(ReachedMachine machine);
    /// A new handle for a pending call.
    std::string newHandle() { return "op" + std::to_string(numbers->take()); }
    PendingCalls& pending() { return calls; }
    ToolServices const& tools() const { return services; }

private:
    struct Seen {
        std::string connection;
        std::shared_ptr<SeenMachine> machine;
    };

    ToolServices services;
    ConversationOptions options;
    std::shared_ptr<ReferenceNumbers::Part> numbers;
    std::string id;
    std::deque<Seen> machinesSeen; // the last one used last
    MemoryBudget::Lease memory;
    PendingCalls calls;
};

} // namespace zelvo::service
