#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/exchange/HeldMachines.h"
#include "ZelvoGateway/exchange/Observers.h"
#include "ZelvoGateway/exchange/nats/NatsConnection.h"
#include "ZelvoGateway/exchange/nats/NodePost.h"
#include "ZelvoGateway/exchange/nats/NodeTable.h"
#include "ZelvoGateway/exchange/nats/OpenAnswers.h"
#include "ZelvoGateway/exchange/nats/OpenQuestions.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// The exchange of several processes over NATS. Each node subscribes to the questions about the machines that
/// it holds, so nothing has to be known of where a machine is. Long texts travel in pieces, as fast as the
/// receiver takes them. Questions are never repeated, and none is answered twice.
class NatsExchange final : public Exchange {
public:
    struct Options {
        NatsConnection::Options connection;
        std::string name;   ///< of the gateway, the same at each node: letters, digits, "-" and "_"
        std::string secret; ///< the same at each node: random, at least 32 characters
        std::string version;
        std::size_t maxText = 192_MiB;       ///< bytes of a question or an answer
        std::size_t maxQuestions = 1024_MiB; ///< bytes of all questions that this node answers
    };

    /// Throws std::runtime_error if the options make no sense. Connects in the background.
    NatsExchange(Options wanted, Clock& clock, Executor server);
    ~NatsExchange() override;
    NatsExchange(NatsExchange const&) = delete;
    NatsExchange& operator=(NatsExchange const&) = delete;

    std::unique_ptr<ExchangeEntry>
    hold(std::string machineId, std::uint64_t term, std::shared_ptr<MachineHolder> holder) override;
    Task<std::string>
    ask(std::string machineId, std::string kind, std::string text, Duration patience) override;
    void publish(std::string topic, std::string text) override;
    std::unique_ptr<ExchangeEntry> observe(std::string topic, Observer observer) override;
    bool isConnected() const override { return connection.isConnected(); }

    /// The versions of the other nodes, by their names.
    std::map<std::string, std::string> nodes() const { return table.versions(); }
    /// How many messages on its subjects were none of its nodes'.
    std::uint64_t refusedMessages() const { return post.refused(); }

private:
    struct Claim;
    class Entry;

    void received(NatsConnection::Message message);
    void receivedByNode(std::string const& subject, ExchangeMessage message);
    void receivedByHolder(std::string const& subject, ExchangeMessage message);
    void connectionChanged(bool isConnectedNow);
    void heardOf(std::string const& machineId, std::uint64_t term);
    void report(std::string const& machineId, std::uint64_t term);
    void release(std::string const& machineId, std::uint64_t term);
    void nodeLost(std::string const& node);
    void reportAndCheck();
    static Task<> keepReporting(std::shared_ptr<NatsExchange*> self, Clock* clock);

    Options options;
    Clock& clock;
    Executor server;
    ExchangeSubjects subjects;
    NatsConnection connection;
    NodePost post;
    NodeTable table;
    HeldMachines machines;
    Observers observers;
    OpenQuestions questions;
    OpenAnswers answers;
    std::map<std::string, std::unique_ptr<Claim>> claims; // By machine.
    std::unique_ptr<NatsConnection::Subscription> own;
    std::unique_ptr<NatsConnection::Subscription> ofNodes;
    std::unique_ptr<NatsConnection::Subscription> ofNotices;
    TaskHandle reporting;
    std::shared_ptr<NatsExchange*> self = std::make_shared<NatsExchange*>(this); // Entries may outlive this.
};

} // namespace zelvo::service
