#pragma once

#include "ZelvoGateway/base/Seal.h"
#include "ZelvoGateway/exchange/nats/ExchangeMessage.h"
#include "ZelvoGateway/exchange/nats/NatsConnection.h"
#include "base/Clock.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace zelvo::service {

/// The subjects that the nodes of one gateway use.
struct ExchangeSubjects {
    std::string prefix; ///< "zelvo.NAME"

    std::string questionsFor(std::string const& machineId) const { return prefix + ".machine." + machineId; }
    std::string holdersOf(std::string const& machineId) const { return prefix + ".held." + machineId; }
    /// For what a node is asked about a question that it answers.
    std::string answering(std::string const& node) const { return prefix + ".node." + node + ".answering"; }
    /// For what a node hears about its own questions; one token follows.
    std::string asking(std::string const& node) const { return prefix + ".node." + node + ".asking"; }
    std::string nodes() const { return prefix + ".nodes"; }
    std::string notices() const { return prefix + ".notice"; }
};

/// Writes and reads the messages of nodes. Each is sealed for its subject with the secret of the nodes, so
/// that nobody else on NATS can read, make or move one. Thread: the server's.
class NodePost {
public:
    /// Of a message that was sealed with the right secret.
    static constexpr Duration maxAge = 5min; ///< clocks of nodes may differ

    /// node  this one's name
    NodePost(NatsConnection& connection, std::string_view secret, std::string node, Clock& clock);

    std::string const& node() const { return name; }
    /// The sender and the date are filled in.
    void send(std::string const& subject, ExchangeMessage message, std::string replyTo = {});
    /// `nullopt` for what no other node of ours has sent to this subject within the last minutes, and for a
    /// question that was read before.
    std::optional<ExchangeMessage> open(NatsConnection::Message const& sealed);
    /// How many messages were refused.
    std::uint64_t refused() const { return refusedCount; }
    void forgetOld();

private:
    bool isNew(ExchangeMessage const& message);

    NatsConnection& connection;
    Seal seal;
    std::string name;
    Clock& clock;
    std::uint64_t refusedCount = 0;
    std::map<std::pair<std::string, std::uint64_t>, Instant> questions; // By sender and id.
};

} // namespace zelvo::service
