#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/exchange/LocalExchange.h"
#include "ZelvoGateway/exchange/nats/NatsExchange.h"
#include "gateway/exchange/PrivateNats.h"
#include "gateway/exchange/TestHolder.h"
#include "gateway/support/SteppedClock.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace zelvo::service {

/// A question that a test has asked.
struct AskedQuestion {
    std::optional<std::string> answer;
    std::optional<Failure> failure;
    TaskHandle task;
    bool isOver() const { return answer || failure; }
};

/// Two nodes as an exchange connects them.
class ExchangeSides {
public:
    virtual ~ExchangeSides() { clock.dropSleepers(); }
    virtual Exchange& first() = 0;
    virtual Exchange& second() = 0;

    /// Runs the loop until something is true, 20 s at most.
    bool until(std::function<bool()> const& condition)
    {
        auto const end = std::chrono::steady_clock::now() + 20s;
        while (!condition() && std::chrono::steady_clock::now() < end) {
            io.restart();
            io.run_for(1ms);
        }
        return condition();
    }
    /// Runs what is due, and gives messages under way the time to arrive.
    void settle()
    {
        for (int round = 0; round < 50; ++round) {
            io.restart();
            io.run_for(1ms);
        }
    }
    /// Holds a machine, and waits until the other node could know.
    std::unique_ptr<ExchangeEntry>
    hold(Exchange& at, std::string machineId, std::uint64_t term, std::shared_ptr<TestHolder> holder)
    {
        auto entry = at.hold(std::move(machineId), term, std::move(holder));
        settle();
        return entry;
    }
    std::shared_ptr<AskedQuestion>
    ask(Exchange& from, std::string machineId, std::string text, Duration patience = 10s)
    {
        auto const question = std::make_shared<AskedQuestion>();
        question->task = spawn(io.get_executor(), [&from, question, machineId, text, patience]() -> Task<> {
            try {
                question->answer = co_await from.ask(machineId, "echo", text, patience);
            } catch (Failure const& failure) {
                question->failure = failure;
            }
        });
        return question;
    }
    std::shared_ptr<AskedQuestion> answered(Exchange& from, std::string machineId, std::string text)
    {
        auto question = ask(from, std::move(machineId), std::move(text));
        EXPECT_TRUE(until([&] { return question->isOver(); }));
        return question;
    }

    asio::io_context io;
    SteppedClock clock;
};

/// One process: both nodes are the same.
class LocalSides final : public ExchangeSides {
public:
    Exchange& first() override { return exchange; }
    Exchange& second() override { return exchange; }

private:
    LocalExchange exchange{clock, io.get_executor()};
};

/// Two nodes on a NATS server.
class NatsSides final : public ExchangeSides {
public:
    NatsSides() : firstNode(node()), secondNode(node())
    {
        EXPECT_TRUE(until([this] { return firstNode->isConnected() && secondNode->isConnected(); }));
        settle();
    }

    static constexpr char const* secret = "0123456789abcdef0123456789abcdef";

    std::unique_ptr<NatsExchange> node(std::string withSecret = secret)
    {
        return std::make_unique<NatsExchange>(NatsExchange::Options{.connection = {.url = server.url(),
                                                                                   .credentialsFile = {},
                                                                                   .authorityFile = {},
                                                                                   .name = "test"},
                                                                    .name = "test",
                                                                    .secret = std::move(withSecret),
                                                                    .version = "1.0.0"},
                                              clock, io.get_executor());
    }
    Exchange& first() override { return *firstNode; }
    Exchange& second() override { return *secondNode; }

    PrivateNats server;
    std::unique_ptr<NatsExchange> firstNode;
    std::unique_ptr<NatsExchange> secondNode;
};

} // namespace zelvo::service
