#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/mcp/transport/McpHost.h"
#include "base/Clock.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zelvo::service {

/// What a test chooses about its server.
struct McpTestOptions {
    McpRules rules = {};
    std::size_t memory = 64_MiB;
    std::uint16_t port = 0; ///< 0 takes a free one
    bool needsKey = true;   ///< false takes every caller for one with the key "tester"
    Clock* clock = nullptr; ///< null for the server's own
};

/// A server that serves nothing but "/mcp", on a separate thread. The API keys are "key-a" and "key-b".
class McpTestServer {
public:
    McpTestServer(McpHost& host, McpTestOptions options = {});
    McpTestServer(McpTestServer const&) = delete;
    McpTestServer& operator=(McpTestServer const&) = delete;
    ~McpTestServer();

    std::uint16_t port() const;
    /// Ends everything that a key began.
    void endKey(std::string const& key);
    void runMaintenance();
    /// Takes no more work, as a gateway does before it stops.
    void closeWork();
    /// Whether everything was answered since then.
    bool isWorkDone();
    /// What is lent of the memory.
    std::size_t lentMemory();

private:
    struct Parts;
    void onThread(std::function<void()> work);
    std::unique_ptr<Parts> parts;
};

} // namespace zelvo::service
