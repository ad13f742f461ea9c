#include "ZelvoGateway/mcp/transport/McpOutbox.h"

#include "ZelvoGateway/base/JsonWork.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/mcp/MessageSize.h"

#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t maxWaiting = 64;       // Notifications to a client that reads slowly.
constexpr std::size_t maxEntries = 256;      // Before the outbox is full.
constexpr std::size_t maxUncounted = 1_MiB;  // Before the outbox is full.
constexpr std::size_t smallMessage = 64_KiB; // Smaller ones are not counted.
constexpr std::size_t memoryFactor = 2;      // The message, and the text that is written of it.

bool isNotification(json::value const& body)
{
    return body.is_object() && body.get_object().contains("method");
}

std::optional<JsonRpcId> idOf(json::value const& body)
{
    json::object const* const object = body.if_object();
    if (!object)
        return std::nullopt;
    if (auto text = read::text(*object, "id"))
        return *std::move(text);
    if (auto const number = read::integer(*object, "id"))
        return *number;
    return std::nullopt;
}

/// Replaces an answer for which there is no memory. The tool has run already.
json::value answerWithoutMemory(json::value const& answer)
{
    return errorMessage(idOf(answer),
                        {.message = "The gateway has no memory for this answer. The call may have been "
                                    "carried out: check what it changed before you repeat it"});
}

} // namespace

void McpOutbox::put(McpMessage message)
{
    if (isNotification(message.body) &&
        (notifications == Notifications::leftOut || entries.size() >= maxWaiting))
        return;
    Entry entry{.message = std::move(message)};
    json::value& body = entry.message.body;
    entry.bytes = sizeOf(body);
    if (entry.bytes > smallMessage && !memory.grow(entry.memory, memoryFactor * entry.bytes)) {
        body = answerWithoutMemory(body);
        entry.bytes = sizeOf(body);
    }
    uncounted += uncountedOf(entry);
    entries.push_back(std::move(entry));
}

bool McpOutbox::isFull() const
{
    return entries.size() >= maxEntries || uncounted >= maxUncounted;
}

std::size_t McpOutbox::uncountedOf(Entry const& entry)
{
    return entry.memory.size() == 0 ? entry.bytes : 0;
}

McpOutbox::Entry McpOutbox::take()
{
    Entry first = std::move(entries.front());
    entries.pop_front();
    uncounted -= uncountedOf(first);
    return first;
}

void McpOutbox::clear()
{
    entries.clear();
    uncounted = 0;
}

Task<std::string> McpOutbox::textOf(Entry& entry, Executor workers)
{
    return writeOn(std::move(workers), std::exchange(entry.message.body, nullptr), entry.bytes);
}

} // namespace zelvo::service
