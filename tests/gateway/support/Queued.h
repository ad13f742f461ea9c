#pragma once

#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "wire/records/Connections.h"

#include <boost/json/value_from.hpp>
#include <gtest/gtest.h>

#include <memory>

namespace zelvo::service {

/// A gateway with a linked machine that is offline, and what a platform does with its queue.
struct Queued {
    explicit Queued(std::function<void(Settings&)> const& change = [](Settings&) {})
        : gateway(change), linked(gateway.link())
    {
    }

    std::string path(std::string const& connection) const
    {
        return "/v1/connections/" + connection + "/commands";
    }
    Answer post(std::string const& body, std::string const& connection = {}) const
    {
        return gateway.platform("POST", path(connection.empty() ? linked.connectionId : connection), body);
    }
    /// Queues a command; returns its id.
    std::string
    queue(std::string const& method, std::string const& connection = {}, std::int64_t ttl = 3600) const
    {
        Answer const answer =
            post(R"({"method":")" + method + R"(","delivery":{"whenUnavailable":"queue","ttlSeconds":)" +
                     std::to_string(ttl) + "}}",
                 connection);
        EXPECT_EQ(answer.status, 202) << answer.body;
        return answer.status == 202 ? std::string(answer.json().at("commandId").as_string()) : "";
    }
    Answer ask(std::string const& id, std::string const& connection = {}) const
    {
        return gateway.platform("GET",
                                path(connection.empty() ? linked.connectionId : connection) + "/" + id);
    }
    records::QueuedCommand command(std::string const& id, std::string const& connection = {}) const
    {
        auto const record = records::fromText<records::QueuedCommand>(ask(id, connection).body);
        EXPECT_TRUE(record) << id;
        return record.value_or(records::QueuedCommand());
    }
    std::string status(std::string const& id, std::string const& connection = {}) const
    {
        return std::string(rawValue(command(id, connection).status));
    }
    bool becomesStatus(std::string const& id, std::string const& wanted) const
    {
        return becomes([&] { return status(id) == wanted; });
    }

    /// The machine connects and reports that it is ready.
    FakeMachine& arrive()
    {
        machine = std::make_unique<FakeMachine>(thread, gateway.port(), linked.token);
        EXPECT_EQ(machine->status(), 101);
        machine->heartbeat();
        return *machine;
    }
    /// The machine disconnects; waits until the gateway has noticed.
    void leave() const
    {
        machine->drop();
        EXPECT_TRUE(becomes([&] { return !isOnline(); }));
    }
    bool isOnline() const
    {
        return gateway.platform("GET", "/v1/machines/" + linked.machineId).json().at("online").as_bool();
    }
    bool isPaused() const
    {
        return gateway.platform("GET", "/v1/machines/" + linked.machineId).json().at("paused").as_bool();
    }
    /// Waits until the gateway has handled what the machine sent before, by one command and its reply.
    void settle() const { EXPECT_EQ(gateway.command(linked.connectionId, "display.info").status, 200); }
    /// The same where few commands may be under way at a time: waits until there is room for one.
    bool becomesFree() const
    {
        return becomes([&] { return gateway.command(linked.connectionId, "display.info").status == 200; });
    }
    std::vector<json::object> offers() const { return machine->framesOf("queue.offer"); }
    bool offered(std::size_t count) const
    {
        return becomes([&] { return offers().size() == count; });
    }
    void answer(std::vector<std::string> const& accepted,
                std::vector<std::string> const& declined,
                std::string const& connection = {}) const
    {
        json::object const data{{"accepted", json::value_from(accepted)},
                                {"declined", json::value_from(declined)}};
        machine->sendEvent("queued_commands_ack", data,
                           connection.empty() ? linked.connectionId : connection);
    }
    /// The methods that reached the machine, without the gateway's own and that of settle().
    std::vector<std::string> reached() const
    {
        std::vector<std::string> methods;
        for (json::object const& frame : machine->frames()) {
            std::string const method(frame.at("method").as_string());
            if (method != "queue.offer" && method != "agents.update" && method != "display.info" &&
                method != "connection.revoke")
                methods.push_back(method);
        }
        return methods;
    }

    Gateway gateway;
    LinkedMachine linked;
    MachineThread thread;
    std::unique_ptr<FakeMachine> machine;
};

} // namespace zelvo::service
