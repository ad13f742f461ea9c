#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/mcp/McpSession.h"
#include "base/Task.h"

#include <deque>
#include <string>

namespace zelvo::service {

/// Whether a client gets notifications beside the answers to its requests.
enum class Notifications { sent, leftOut };

/// Messages on their way to one client, within the memory of its key: a notification that would wait behind
/// too many others is left out, and an answer that is too large becomes an error. The key's memory does not
/// count short messages; once the outbox is full of them, its owner takes nothing more from the client.
/// Thread: the server's.
class McpOutbox {
public:
    /// memory   the key's part of the budget
    McpOutbox(MemoryBudget memory, Notifications notifications)
        : memory(std::move(memory)), notifications(notifications)
    {
    }

    struct Entry {
        McpMessage message;
        std::size_t bytes = 0;      ///< about as many as its text will have
        MemoryBudget::Lease memory; ///< of a large one, held until it is sent
    };

    void put(McpMessage message);
    bool isEmpty() const { return entries.empty(); }
    bool isFull() const;
    std::size_t size() const { return entries.size(); }
    /// The first one. There must be one.
    Entry take();
    void clear();

    /// The text of a message; a long one is written on the workers. The message is gone afterwards.
    static Task<std::string> textOf(Entry& entry, Executor workers);

private:
    static std::size_t uncountedOf(Entry const& entry);

    MemoryBudget memory;
    Notifications notifications;
    std::deque<Entry> entries;
    std::size_t uncounted = 0; ///< bytes of the entries that hold no memory
};

} // namespace zelvo::service
