#pragma once

#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/ToolRunner.h"
#include "ZelvoGateway/mcp/transport/McpTarget.h"

#include <memory>

namespace zelvo::service {

/// What is served at "/mcp": the tools, and those who carry them out.
/// Thread: the server's.
class McpHost {
public:
    virtual ~McpHost() = default;
    /// Refuses a connection that does not exist, is revoked, or that the key does not reach. Throws Failure.
    virtual void assertReaches(McpTarget const& target) = 0;
    /// The same for the same address.
    virtual std::shared_ptr<McpServer const> server(McpAddress const& address) = 0;
    /// For one conversation.
    virtual std::shared_ptr<ToolRunner> newRunner(McpTarget const& target) = 0;
};

} // namespace zelvo::service
