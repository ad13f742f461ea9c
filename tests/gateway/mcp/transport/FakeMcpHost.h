#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/transport/McpHost.h"
#include "base/Clock.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace zelvo::service {

/// Tools for tests: "echo" answers its text, "hold" answers after its milliseconds, "report" reports its
/// number of steps and answers, "picture" answers a picture of so many bytes, "fail" fails, "break" throws,
/// "count" answers how often its conversation was called.
class FakeMcpHost final : public McpHost {
public:
    explicit FakeMcpHost(Clock& clock) : clock(clock) {}

    std::atomic<int> open = 0;      ///< calls of "hold"
    std::atomic<int> cancelled = 0; ///< of them
    std::atomic<int> conversations = 0;
    std::atomic<bool> isRevoked = false; ///< the connection "con_1"

    void assertReaches(McpTarget const& target) override
    {
        std::string const& connection = target.address.connection;
        bool const isReached = connection.empty() || (connection == "con_1" && !isRevoked) ||
                               (connection == "con_a" && target.caller.keyId == "key-a");
        if (!isReached)
            throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
    }

    std::shared_ptr<McpServer const> server(McpAddress const& address) override
    {
        McpServer server{
            .name = "fake", .title = "Fake", .version = "1", .instructions = "Try them.", .tools = {}};
        for (std::string const name : {"echo", "hold", "report", "picture", "fail", "break", "count"})
            server.tools.push_back({.name = name,
                                    .title = name,
                                    .description = "For tests.",
                                    .inputSchema = {{"type", "object"}},
                                    .hints = {}});
        if (address.hasComputerTool)
            server.tools.push_back({.name = "computer",
                                    .title = "Computer",
                                    .description = std::to_string(address.width.value_or(0)),
                                    .inputSchema = {{"type", "object"}},
                                    .hints = {}});
        return std::make_shared<McpServer const>(std::move(server));
    }

    std::shared_ptr<ToolRunner> newRunner(McpTarget const&) override
    {
        ++conversations;
        return std::make_shared<Runner>(*this);
    }

private:
    class Runner final : public ToolRunner {
    public:
        explicit Runner(FakeMcpHost& host) : host(host) {}

        Task<McpToolResult> run(McpCall call, Report report) override
        {
            ++calls;
            std::int64_t const n = read::integer(call.arguments, "n").value_or(0);
            if (call.tool == "hold")
                co_await host.hold(std::chrono::milliseconds(n));
            for (std::int64_t i = 1; call.tool == "report" && i <= n; ++i) {
                report(static_cast<double>(i), "step " + std::to_string(i));
                co_await host.clock.sleep(std::chrono::milliseconds(1));
            }
            if (call.tool == "break")
                throw std::runtime_error("broken on purpose");
            McpToolResult result;
            result.isError = call.tool == "fail";
            McpContent content{.text = read::text(call.arguments, "text").value_or(call.tool)};
            if (call.tool == "picture")
                content = {.text = std::string(static_cast<std::size_t>(n), 'A'), .mimeType = "image/png"};
            if (call.tool == "count")
                content.text = std::to_string(calls);
            result.content.push_back(std::move(content));
            co_return result;
        }

    private:
        FakeMcpHost& host;
        int calls = 0;
    };

    Task<> hold(Duration duration)
    {
        Instant const due = clock.now() + duration; // Before a test sees it, and moves the clock.
        ++open;
        try {
            co_await clock.sleepUntil(due);
        } catch (...) {
            ++cancelled;
            --open;
            throw;
        }
        --open;
    }

    Clock& clock;
};

} // namespace zelvo::service
