#pragma once

#include "base/Clock.h"
#include "base/Task.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zelvo::service {

/// Answers what other nodes ask about a machine that is connected to this one. Thread: the server's.
class MachineHolder {
public:
    virtual ~MachineHolder() = default;
    /// kind    what is asked, a short word
    /// text    its parameters
    /// Throws  Failure, which the asking node throws again
    /// The task is cancelled when nobody waits for the answer any more.
    virtual Task<std::string> answer(std::string kind, std::string text) = 0;
    /// Another session holds the machine now, here or at another node. Called at most once.
    virtual void replaced() = 0;
};

/// What a node is for the others until the object is destroyed: the holder of a machine, or an observer.
class ExchangeEntry {
public:
    virtual ~ExchangeEntry() = default;
};

/// Connects the nodes of one gateway: it finds the node that holds a machine, and carries requests, answers
/// and notices between nodes. Nothing is kept: a node that is not connected misses notices. Thread: the
/// server's. Made by: LocalExchange, NatsExchange.
class Exchange {
public:
    using Observer = std::function<void(std::string const& text)>;

    virtual ~Exchange() = default;

    /// This node holds the machine from now on.
    /// term  at least 1, higher with each session of the machine: of two holders, the lower one is replaced
    virtual std::unique_ptr<ExchangeEntry>
    hold(std::string machineId, std::uint64_t term, std::shared_ptr<MachineHolder> holder) = 0;
    /// Asks the node that holds a machine, which may be this one.
    /// Throws  Failure: machineOffline if no node holds it; machineUnavailable if the nodes are not
    /// connected;
    ///         timeout; whatever the holder throws
    virtual Task<std::string>
    ask(std::string machineId, std::string kind, std::string text, Duration patience) = 0;

    /// Sends a notice to every node that observes the topic, this one too. A topic has the letters a to z and
    /// dots.
    virtual void publish(std::string topic, std::string text) = 0;
    virtual std::unique_ptr<ExchangeEntry> observe(std::string topic, Observer observer) = 0;

    /// False while other nodes may be out of reach. Then this node must not rely on what it holds.
    virtual bool isConnected() const = 0;
};

} // namespace zelvo::service
