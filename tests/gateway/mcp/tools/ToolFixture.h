#pragma once

#include "ZelvoGateway/mcp/tools/DesktopToolRunner.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "fakes/ManualClock.h"
#include "gateway/mcp/tools/FakeDesktopCommands.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// A call of a tool that a test has begun.
struct BegunCall {
    std::optional<McpToolResult> result;
    bool isCancelled = false;
    std::vector<std::pair<double, std::string>> reports;
    asio::cancellation_signal cancellation;

    std::string text() const { return result ? result->content.front().text : "(no result)"; }
};

/// The tools on a fake gateway with one machine, "desk", whose display has 1000 to 800 points: pictures are
/// not scaled. Mousepad is in front, with a text and two buttons.
class ToolFixture : public testing::Test {
protected:
    ToolFixture()
    {
        commands->reached = {{.connection = "con_1",
                              .name = "desk",
                              .isOnline = true,
                              .availability = Availability::ready,
                              .scopes = {AgentScope::screen, AgentScope::input},
                              .display = DisplaySize{.width = 1000, .height = 800},
                              .session = machineSession}};
        commands->answers["screen.settle"] = [](DesktopCommand const&) {
            return json::value{{"settled", true}, {"elapsedMs", 412}};
        };
        commands->answers["ui.tree"] = [this](DesktopCommand const&) { return treeNow(); };
        commands->answers["actions.perform"] = [](DesktopCommand const&) {
            return json::value{{"ok", true}};
        };
        commands->answers["screenshot"] = [this](DesktopCommand const& command) {
            return pictureOf(command);
        };
    }
    ~ToolFixture() override
    {
        runner.reset();
        run();
        clock.dropSleepers();
    }

    static std::string element(std::string const& id,
                               std::string const& role,
                               std::string const& name,
                               int y,
                               std::string const& more = "")
    {
        return R"({"id":")" + id + R"(","role":")" + role + R"(","title":")" + name +
               R"(","frame":{"x":400,"y":)" + std::to_string(y) +
               R"(,"w":64,"h":32},"enabled":true,"focused":false,"actions":[])" + more + "}";
    }

    /// What the machine shows; each tree is a new snapshot.
    json::value treeNow()
    {
        std::string list;
        for (std::string const& one : elements)
            list += (list.empty() ? "" : ",") + one;
        return parseJson(R"({"snapshotId":"snp_)" + std::to_string(++snapshots) + R"(","truncated":)" +
                         (isTruncated ? "true" : "false") + R"(,"elements":[)" + list +
                         R"(],"app":{"bundleId":")" + bundleId + R"(","name":")" + appName + R"("}})")
            .value();
    }

    /// Scaled to the width that is asked for; of the region that is asked for.
    json::value pictureOf(DesktopCommand const& command) const
    {
        DisplaySize const display = shownDisplay.value_or(*commands->reached.front().display);
        double width = static_cast<double>(display.width);
        double height = static_cast<double>(display.height);
        json::object result{{"mime", "image/jpeg"},
                            {"data", pictureData},
                            {"widthPoints", display.width},
                            {"heightPoints", display.height}};
        if (json::object const* const region = read::object(command.params, "region")) {
            width = *read::number(*region, "w");
            height = *read::number(*region, "h");
            result["region"] = *region;
        }
        double const pixels =
            std::min(width, static_cast<double>(read::integer(command.params, "maxWidth").value_or(100000)));
        result["imageWidth"] = static_cast<std::int64_t>(pixels);
        result["imageHeight"] = static_cast<std::int64_t>(pixels / width * height);
        result["scale"] = pixels / width;
        return result;
    }

    std::unique_ptr<DesktopToolRunner> newRunner(std::string key = "key_1")
    {
        return std::make_unique<DesktopToolRunner>(
            ToolServices{.commands = commands,
                         .clock = clock,
                         .server = io.get_executor(),
                         .workers = io.get_executor(),
                         .pictures = pictures},
            ConversationOptions{.key = std::move(key), .memory = memory, .turns = turns, .numbers = numbers});
    }

    void run()
    {
        io.restart();
        io.poll();
    }

    std::shared_ptr<BegunCall>
    begin(DesktopToolRunner& with, std::string_view tool, std::string_view arguments = "{}")
    {
        auto const begun = std::make_shared<BegunCall>();
        McpCall call{.tool = std::string(tool), .arguments = parseJson(arguments).value().as_object()};
        call.client = "Tester";
        auto report = [begun](double value, std::string message) {
            begun->reports.emplace_back(value, std::move(message));
        };
        auto onEnd = [begun](std::exception_ptr failure, McpToolResult result) {
            if (failure)
                begun->isCancelled = true;
            else
                begun->result = std::move(result);
        };
        asio::co_spawn(io, with.run(std::move(call), std::move(report)),
                       asio::bind_cancellation_slot(begun->cancellation.slot(), std::move(onEnd)));
        run();
        return begun;
    }
    std::shared_ptr<BegunCall> begin(std::string_view tool, std::string_view arguments = "{}")
    {
        if (!runner)
            runner = newRunner();
        return begin(*runner, tool, arguments);
    }
    /// The text of a call that ends without any time passing.
    std::string call(std::string_view tool, std::string_view arguments = "{}")
    {
        return begin(tool, arguments)->text();
    }
    McpToolResult resultOf(std::string_view tool, std::string_view arguments = "{}")
    {
        return begin(tool, arguments)->result.value();
    }

    static std::size_t tooltextCost(std::string_view text) { return tooltext::costOf(text); }

    static Failure failure(ErrorCode code, std::string message = "It failed")
    {
        return {.code = code, .message = std::move(message), .requestId = "req_1"};
    }

    asio::io_context io;
    ManualClock clock{&io};
    std::shared_ptr<int> machineSession = std::make_shared<int>(1);
    std::shared_ptr<FakeDesktopCommands> commands = std::make_shared<FakeDesktopCommands>();
    MemoryBudget memory{64 << 20};
    std::shared_ptr<CallTurns> turns = std::make_shared<CallTurns>(io.get_executor(), clock);
    std::shared_ptr<ReferenceNumbers> numbers = std::make_shared<ReferenceNumbers>();
    PictureLimits pictures;

    std::vector<std::string> elements = {element("e0", "AXTextArea", "Note", 100),
                                         element("e1", "AXButton", "Save", 200),
                                         element("e2", "AXButton", "Close", 300)};
    std::string bundleId = "org.xfce.mousepad";
    std::string appName = "Mousepad";
    bool isTruncated = false;
    int snapshots = 0;
    std::string pictureData = "AAAA";
    std::optional<DisplaySize> shownDisplay; ///< if it is not what the heartbeat said

    std::unique_ptr<DesktopToolRunner> runner;
};

} // namespace zelvo::service
