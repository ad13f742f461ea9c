#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/exchange/Exchange.h"
#include "ZelvoGateway/exchange/nats/NodePost.h"

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace zelvo::service {

/// The questions of other nodes that this node answers.
/// Thread: the server's.
class OpenAnswers {
public:
    struct Limits {
        std::size_t question = 0; ///< bytes of one
        std::size_t all = 0;      ///< bytes of all questions together
    };

    OpenAnswers(
        NodePost& post, ExchangeSubjects const& subjects, Clock& clock, Executor server, Limits limits);
    ~OpenAnswers();
    OpenAnswers(OpenAnswers const&) = delete;
    OpenAnswers& operator=(OpenAnswers const&) = delete;

    /// holder  null if this node does not hold the machine any more
    void asked(ExchangeMessage message, std::shared_ptr<MachineHolder> holder);
    /// What the asking node sends later.
    void received(ExchangeMessage const& message);
    /// Nobody waits for the answers.
    void nodeLost(std::string const& node);
    void connectionLost();
    /// Ends the ones whose texts have not moved for too long.
    void endStalled();

private:
    struct Answer;
    using Key = std::pair<std::string, std::uint64_t>; // The asking node and its id.

    void takePiece(Key const& key, Answer& answer, std::uint64_t at, std::string_view piece);
    void begin(Key const& key, std::shared_ptr<Answer> answer);
    static Task<> run(OpenAnswers* self, Key key, std::shared_ptr<Answer> answer);
    void send(Key const& key, Answer& answer, std::string text);
    void sendPieces(Key const& key, Answer& answer);
    void sendFailure(Key const& key, Failure const& failure);
    void sendControl(Key const& key, ExchangeMessage::Kind kind, std::uint64_t number);
    void end(Key key);

    NodePost& post;
    ExchangeSubjects const& subjects;
    Clock& clock;
    Executor server;
    Limits limits;
    MemoryBudget memory;
    std::map<Key, std::shared_ptr<Answer>> answers;
};

} // namespace zelvo::service
