#pragma once

#include "ZelvoGateway/mcp/transport/McpHost.h"

#include <memory>

namespace zelvo::service {

/// The tools that the conformance suite of the protocol expects, as far as the gateway's own tools need what
/// they try, and "test_hold" and "test_held", which show whether a call was cancelled.
class FixtureHost final : public McpHost {
public:
    void assertReaches(McpTarget const& target) override;
    std::shared_ptr<McpServer const> server(McpAddress const& address) override;
    std::shared_ptr<ToolRunner> newRunner(McpTarget const& target) override;

private:
    class Runner;

    struct Held {
        int open = 0;
        int cancelled = 0;
    };

    std::shared_ptr<Held> held = std::make_shared<Held>();
};

} // namespace zelvo::service
