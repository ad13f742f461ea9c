#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/mcp/tools/OpenCall.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// The calls of one conversation whose clients did not wait for the end. Results are kept for a while, in a
/// bounded number and size.
/// Thread: the server's.
class PendingCalls {
public:
    static constexpr std::size_t maxKept = 16;
    static constexpr std::size_t maxBytes = 4 << 20;               ///< of all kept results
    static constexpr Duration lifetime = std::chrono::minutes(10); ///< from the end of a call

    PendingCalls(Clock& clock, MemoryBudget memory) : clock(clock), memory(std::move(memory)) {}
    PendingCalls(PendingCalls const&) = delete;
    PendingCalls& operator=(PendingCalls const&) = delete;
    ~PendingCalls() = default;

    void add(std::string handle, std::shared_ptr<OpenCall> call);
    /// Null if there is none, or none any more.
    std::shared_ptr<OpenCall> find(std::string const& handle);
    /// Takes back what can be taken back.
    void cancelAll();
    std::size_t count() const { return calls.size(); }

private:
    void forgetOld();
    void keepResult(OpenCall& call);

    Clock& clock;
    MemoryBudget memory;
    std::map<std::string, std::shared_ptr<OpenCall>> calls; // by handle
};

} // namespace zelvo::service
