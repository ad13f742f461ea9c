#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/exchange/nats/NodePost.h"
#include "ZelvoGateway/exchange/nats/TextInPieces.h"
#include "base/Clock.h"
#include "base/Task.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

constexpr Duration maxTransferPause = 30s; ///< between two pieces

/// The questions of this node that wait for their answers.
/// Thread: the server's.
class OpenQuestions {
public:
    /// maxAnswer  bytes
    OpenQuestions(NodePost& post, ExchangeSubjects const& subjects, Clock& clock, std::size_t maxAnswer)
        : post(post), subjects(subjects), clock(clock), maxAnswer(maxAnswer)
    {
    }
    ~OpenQuestions() { *self = nullptr; }
    OpenQuestions(OpenQuestions const&) = delete;
    OpenQuestions& operator=(OpenQuestions const&) = delete;

    /// Throws Failure as Exchange::ask().
    Task<std::string> ask(std::string machineId, std::string kind, std::string text, Duration patience);
    /// What the answering node sends.
    void received(ExchangeMessage message);
    /// subject  that was given as the one for answers
    void nobodyHolds(std::string const& subject);
    void nodeLost(std::string const& node);
    void connectionLost();

private:
    struct Question;
    class Guard;

    void send(std::string const& machineId, std::string kind, Question& question, Duration patience);
    void sendPieces(Question& question);
    void take(Question& question, ExchangeMessage message);
    void takeFirst(Question& question, ExchangeMessage const& message);
    void takePiece(Question& question, std::uint64_t at, std::string_view piece);
    static void fail(Question& question, Failure failure);
    void sendControl(Question const& question, ExchangeMessage::Kind kind, std::uint64_t number);

    NodePost& post;
    ExchangeSubjects const& subjects;
    Clock& clock;
    std::size_t maxAnswer;
    std::uint64_t lastId = 0;
    std::map<std::uint64_t, std::shared_ptr<Question>> questions;
    std::shared_ptr<OpenQuestions*> self =
        std::make_shared<OpenQuestions*>(this); // A suspended task may outlive this.
};

} // namespace zelvo::service
