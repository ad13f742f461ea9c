#include "ZelvoGateway/mcp/tools/PendingCalls.h"

#include "ZelvoGateway/mcp/ToolFailure.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

std::size_t bytesOf(McpToolResult const& result)
{
    std::size_t bytes = 0;
    for (McpContent const& piece : result.content)
        bytes += sizeof piece + piece.text.size();
    return bytes;
}

} // namespace

void PendingCalls::cancelAll()
{
    for (auto const& [handle, call] : calls)
        call->cancel();
}

void PendingCalls::add(std::string handle, std::shared_ptr<OpenCall> call)
{
    calls.emplace(std::move(handle), std::move(call));
    forgetOld();
}

std::shared_ptr<OpenCall> PendingCalls::find(std::string const& handle)
{
    forgetOld();
    auto const found = calls.find(handle);
    return found == calls.end() ? nullptr : found->second;
}

void PendingCalls::forgetOld()
{
    std::erase_if(calls, [&](auto const& entry) {
        return entry.second->hasEnded() && clock.now() - entry.second->endedAt() >= lifetime;
    });
    for (auto const& [handle, call] : calls)
        if (call->hasEnded() && call->memory.size() == 0)
            keepResult(*call);
    while (calls.size() > maxKept) {
        auto const oldest = std::ranges::min_element(calls, {}, [](auto const& entry) {
            return entry.second->hasEnded() ? entry.second->endedAt() : Instant::max();
        });
        oldest->second->cancel();
        calls.erase(oldest);
    }
}

/// Drops what is too large to be kept; the call itself was carried out.
void PendingCalls::keepResult(OpenCall& call)
{
    std::size_t held = 0;
    for (auto const& [handle, other] : calls)
        held += other->memory.size();
    std::size_t const bytes = bytesOf(call.result());
    if (held + bytes <= maxBytes && memory.grow(call.memory, bytes))
        return;
    bool const failed = call.result().isError;
    McpToolResult dropped{
        .content = {{.text = std::string("The call has ended") + (failed ? " with an error" : "") +
                             "; its answer was too large to be kept. Next: look with desktop_see."}},
        .isError = failed};
    call.setResult(std::move(dropped));
    memory.grow(call.memory, bytesOf(call.result()));
}

} // namespace zelvo::service
