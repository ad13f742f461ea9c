#include "ZelvoGateway/exchange/nats/OpenAnswers.h"

#include "ZelvoGateway/exchange/FailureText.h"
#include "ZelvoGateway/exchange/HeldAnswer.h"
#include "ZelvoGateway/exchange/nats/OpenQuestions.h"
#include "ZelvoGateway/exchange/nats/TextInPieces.h"

#include <optional>
#include <vector>

namespace zelvo::service {

using Kind = ExchangeMessage::Kind;

struct OpenAnswers::Answer {
    std::shared_ptr<MachineHolder> holder;
    std::string kind;
    Duration patience{};
    IncomingText question;
    MemoryBudget::Lease memory; // Of the question.
    std::optional<OutgoingText> text;
    TaskHandle running;
    bool isOver = false;
    Instant movedAt{};
};

OpenAnswers::OpenAnswers(
    NodePost& post, ExchangeSubjects const& subjects, Clock& clock, Executor server, Limits limits)
    : post(post), subjects(subjects), clock(clock), server(std::move(server)), limits(limits),
      memory(limits.all)
{
}

OpenAnswers::~OpenAnswers()
{
    connectionLost();
}

void OpenAnswers::asked(ExchangeMessage message, std::shared_ptr<MachineHolder> holder)
{
    Key const key(message.sender, message.exchangeId);
    if (!holder)
        return sendFailure(
            key, {.code = ErrorCode::machineOffline, .message = "The machine has just disconnected"});
    if (message.size > limits.question)
        return sendFailure(key, {.code = ErrorCode::invalidRequest,
                                 .message = "The request is too large for the machine's node",
                                 .kind = Failure::Kind::tooLarge});
    auto const answer = std::make_shared<Answer>(
        Answer{.holder = std::move(holder),
               .kind = std::move(message.word),
               .patience = std::chrono::milliseconds(message.number % (24LL * 60 * 60 * 1000)),
               .question = IncomingText(message.size)});
    if (!memory.grow(answer->memory, message.size))
        return sendFailure(
            key, {.code = ErrorCode::rateLimited, .message = "The machine's node has too much to do"});
    answers[key] = answer;
    // The asking node learns who answers, even if no further piece is needed.
    sendControl(key, Kind::credit, message.text.size());
    takePiece(key, *answer, 0, message.text);
}

void OpenAnswers::received(ExchangeMessage const& message)
{
    Key const key(message.sender, message.exchangeId);
    auto const found = answers.find(key);
    if (found == answers.end())
        return;
    auto const answer = found->second;
    answer->movedAt = clock.now();
    if (message.kind == Kind::cancel) {
        end(key);
    } else if (message.kind == Kind::piece && !answer->running) {
        takePiece(key, *answer, message.number, message.text);
    } else if (message.kind == Kind::credit && answer->text) {
        answer->text->allow(message.number);
        sendPieces(key, *answer);
    }
}

void OpenAnswers::takePiece(Key const& key, Answer& answer, std::uint64_t at, std::string_view piece)
{
    answer.movedAt = clock.now();
    if (!answer.question.add(at, piece)) {
        sendFailure(key, {.message = "A piece of the request was lost between two nodes"});
        return end(key);
    }
    if (answer.question.isComplete())
        begin(key, answers.at(key));
    else if (auto const limit = answer.question.newLimit())
        sendControl(key, Kind::credit, *limit);
}

void OpenAnswers::begin(Key const& key, std::shared_ptr<Answer> answer)
{
    Answer& begun = *answer;
    begun.running = spawn(server, [this, key, answer = std::move(answer)] { return run(this, key, answer); });
}

/// Cancelled before `self` is destroyed.
Task<> OpenAnswers::run(OpenAnswers* self, Key key, std::shared_ptr<Answer> answer)
{
    std::optional<Failure> failure;
    std::string text;
    try {
        text = co_await answerOf(answer->holder, answer->kind, answer->question.take(), &self->clock,
                                 answer->patience);
    } catch (Failure const& thrown) {
        failure = thrown;
    }
    if (answer->isOver)
        co_return;
    answer->memory.release();
    if (!failure) {
        self->send(key, *answer, std::move(text));
    } else {
        self->sendFailure(key, *failure);
        self->end(key);
    }
}

void OpenAnswers::send(Key const& key, Answer& answer, std::string text)
{
    answer.movedAt = clock.now();
    OutgoingText& outgoing = answer.text.emplace(std::move(text));
    ExchangeMessage message{.kind = Kind::answer, .exchangeId = key.second};
    message.size = outgoing.size();
    message.text = outgoing.first();
    post.send(subjects.asking(key.first), std::move(message));
    if (outgoing.isSent())
        end(key);
}

void OpenAnswers::sendPieces(Key const& key, Answer& answer)
{
    while (auto const piece = answer.text->next())
        post.send(subjects.asking(key.first), {.kind = Kind::piece,
                                               .exchangeId = key.second,
                                               .number = piece->at,
                                               .text = std::string(piece->text)});
    if (answer.text->isSent())
        end(key);
}

void OpenAnswers::sendFailure(Key const& key, Failure const& failure)
{
    ExchangeMessage message{.kind = Kind::failure, .exchangeId = key.second};
    message.text = failureText(failure);
    post.send(subjects.asking(key.first), std::move(message));
}

void OpenAnswers::sendControl(Key const& key, ExchangeMessage::Kind kind, std::uint64_t number)
{
    post.send(subjects.asking(key.first), {.kind = kind, .exchangeId = key.second, .number = number});
}

void OpenAnswers::end(Key key)
{
    auto const found = answers.extract(key);
    if (!found)
        return;
    found.mapped()->isOver = true;
    found.mapped()->running.cancel();
}

void OpenAnswers::nodeLost(std::string const& node)
{
    std::vector<Key> lost;
    for (auto const& [key, answer] : answers)
        if (key.first == node)
            lost.push_back(key);
    for (Key const& key : lost)
        end(key);
}

void OpenAnswers::connectionLost()
{
    while (!answers.empty())
        end(answers.begin()->first);
}

void OpenAnswers::endStalled()
{
    std::vector<Key> stalled;
    for (auto const& [key, answer] : answers) {
        bool const isAnswering = answer->running && !answer->text; // Its own patience ends that.
        if (!isAnswering && clock.now() - answer->movedAt > maxTransferPause)
            stalled.push_back(key);
    }
    for (Key const& key : stalled)
        end(key);
}

} // namespace zelvo::service
