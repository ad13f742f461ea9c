#pragma once

#include "ZelvoGateway/mcp/ToolRunner.h"
#include "ZelvoGateway/mcp/tools/Conversation.h"

#include <memory>

namespace zelvo::service {

/// Carries out the tools of desktops for one conversation. A call that takes longer than clients wait is
/// answered with a handle and goes on; "desktop_wait" gives its result.
class DesktopToolRunner final : public ToolRunner {
public:
    static constexpr Duration maxAnswerTime = std::chrono::seconds(45);

    DesktopToolRunner(ToolServices services, ConversationOptions options)
        : conversation(std::make_shared<Conversation>(std::move(services), std::move(options)))
    {
    }

    DesktopToolRunner(DesktopToolRunner const&) = delete;
    DesktopToolRunner& operator=(DesktopToolRunner const&) = delete;
    /// Nobody can ask for the results of pending calls any more, so they are cancelled.
    ~DesktopToolRunner() override { conversation->pending().cancelAll(); }

    Task<McpToolResult> run(McpCall call, Report report) override;

private:
    // Calls that go on after their runner has ended need it.
    std::shared_ptr<Conversation> conversation;
};

} // namespace zelvo::service
