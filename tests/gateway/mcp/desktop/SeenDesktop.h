#pragma once

#include "gateway/mcp/transport/McpHttpClient.h"
#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// A machine that shows one application with one button, "Save". It can leave the agent whose command arrives
/// first without answers.
class SeenDesktop {
public:
    SeenDesktop(MachineThread& thread, Gateway const& gateway, LinkedMachine const& linked)
        : machine(thread, gateway.port(), linked.token)
    {
        machine.onFrame([this](json::object const& frame) { return handle(frame); });
        machine.heartbeat();
    }

    /// Leaves commands of the first agent unanswered until release().
    void hold() { isHolding = true; }
    /// Answers what is held, and from now on everything.
    void release()
    {
        std::vector<json::object> waiting;
        {
            std::scoped_lock guard(lock);
            isHolding = false;
            waiting.swap(held);
        }
        for (json::object const& frame : waiting) {
            json::object reply = answerTo(frame);
            reply["id"] = frame.at("id");
            machine.sendText(writeJson(reply));
        }
    }
    std::size_t holding() const
    {
        std::scoped_lock guard(lock);
        return held.size();
    }

    FakeMachine machine;

private:
    std::optional<json::object> handle(json::object const& frame)
    {
        std::scoped_lock guard(lock);
        json::object const* const agent = read::object(frame, "agent");
        std::string const ref = agent ? read::text(*agent, "ref").value_or("") : "";
        if (isHolding && heldAgent.empty())
            heldAgent = ref;
        if (!isHolding || ref != heldAgent)
            return answerTo(frame);
        held.push_back(frame);
        return std::nullopt;
    }

    json::object answerTo(json::object const& frame)
    {
        std::string const method = read::text(frame, "method").value_or("");
        if (method == "ui.tree")
            return resultOf(
                parseJson(R"({"snapshotId":"snp_)" + std::to_string(++snapshots) +
                          R"(","truncated":false,"elements":[{"id":"e1","role":"AXButton","title":"Save",)"
                          R"("frame":{"x":400,"y":200,"w":64,"h":32},"enabled":true,"focused":false,)"
                          R"("actions":[]}],"app":{"bundleId":"org.xfce.mousepad","name":"Mousepad"}})")
                    .value());
        if (method == "screen.settle")
            return resultOf({{"settled", true}, {"elapsedMs", 1}});
        return resultOf({{"ok", true}});
    }

    std::atomic<int> snapshots = 0;
    std::atomic<bool> isHolding = false;
    mutable std::mutex lock;
    std::string heldAgent;          // lock
    std::vector<json::object> held; // lock
};

/// The text of the first content of a tool's result.
inline std::string toolText(Answer const& answer)
{
    json::value const body = answer.json();
    json::object const* const result = read::object(body.as_object(), "result");
    return result ? std::string(result->at("content").at(0).at("text").as_string()) : answer.body;
}

} // namespace zelvo::service
