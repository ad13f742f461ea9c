#include "ZelvoGateway/exchange/nats/OpenQuestions.h"

#include "ZelvoGateway/exchange/Cancellation.h"
#include "ZelvoGateway/exchange/FailureText.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/experimental/channel.hpp>
#include <boost/asio/this_coro.hpp>

#include <charconv>
#include <optional>

namespace zelvo::service {

namespace {

using Wakeup = asio::experimental::channel<void(boost::system::error_code)>;
using Kind = ExchangeMessage::Kind;

Failure wentAway()
{
    return {.code = ErrorCode::machineOffline, .message = "The machine went away before it answered"};
}

} // namespace

struct OpenQuestions::Question {
    Question(Executor const& executor, std::uint64_t id, std::string text)
        : id(id), text(std::move(text)), wakeup(executor, 1)
    {
    }

    bool isOver() const { return failure || (answer && answer->isComplete()); }
    void wake() { wakeup.try_send(boost::system::error_code()); }

    std::uint64_t id;
    OutgoingText text;
    std::string holder; // The node that answers; empty until it has reported.
    std::optional<IncomingText> answer;
    std::optional<Failure> failure;
    Instant due{};
    Wakeup wakeup;
};

/// Forgets a question, and reports to its holder that nobody waits if there is no answer.
class OpenQuestions::Guard {
public:
    Guard(std::shared_ptr<OpenQuestions*> all, std::shared_ptr<Question> question)
        : all(std::move(all)), question(std::move(question))
    {
    }
    Guard(Guard const&) = delete;
    Guard& operator=(Guard const&) = delete;
    ~Guard()
    {
        if (!*all)
            return;
        (*all)->questions.erase(question->id);
        if (!question->isOver())
            (*all)->sendControl(*question, Kind::cancel, 0);
    }

private:
    std::shared_ptr<OpenQuestions*> all;
    std::shared_ptr<Question> question;
};

Task<std::string>
OpenQuestions::ask(std::string machineId, std::string kind, std::string text, Duration patience)
{
    using namespace asio::experimental::awaitable_operators;
    auto const question =
        std::make_shared<Question>(co_await asio::this_coro::executor, ++lastId, std::move(text));
    questions.emplace(question->id, question);
    Guard const guard(self, question);
    question->due = clock.now() + patience + maxTransferPause;
    send(machineId, std::move(kind), *question, patience);
    while (!question->isOver()) {
        co_await (question->wakeup.async_receive(asio::as_tuple(asio::use_awaitable)) ||
                  clock.sleepThroughCancel(question->due - clock.now()));
        co_await throwIfCancelled();
        if (!question->isOver() && clock.now() >= question->due)
            throw Failure{.code = ErrorCode::timeout, .message = "The machine's node did not answer in time"};
    }
    if (question->failure)
        throw *question->failure;
    co_return question->answer->take();
}

void OpenQuestions::send(std::string const& machineId,
                         std::string kind,
                         Question& question,
                         Duration patience)
{
    ExchangeMessage message{.kind = Kind::ask, .exchangeId = question.id};
    message.number =
        static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(patience).count());
    message.size = question.text.size();
    message.word = std::move(kind);
    message.text = question.text.first();
    post.send(subjects.questionsFor(machineId), std::move(message),
              subjects.asking(post.node()) + "." + std::to_string(question.id));
}

void OpenQuestions::sendPieces(Question& question)
{
    while (auto const piece = question.text.next())
        post.send(subjects.answering(question.holder), {.kind = Kind::piece,
                                                        .exchangeId = question.id,
                                                        .number = piece->at,
                                                        .text = std::string(piece->text)});
}

void OpenQuestions::sendControl(Question const& question, ExchangeMessage::Kind kind, std::uint64_t number)
{
    if (!question.holder.empty())
        post.send(subjects.answering(question.holder),
                  {.kind = kind, .exchangeId = question.id, .number = number});
}

void OpenQuestions::received(ExchangeMessage message)
{
    auto const found = questions.find(message.exchangeId);
    if (found == questions.end())
        return;
    auto const question = found->second;
    bool const isOfHolder = question->holder.empty() || question->holder == message.sender;
    if (!isOfHolder || question->isOver())
        return;
    question->holder = message.sender;
    question->due = std::max(question->due, clock.now() + maxTransferPause);
    take(*question, std::move(message));
    if (question->isOver())
        question->wake();
}

void OpenQuestions::take(Question& question, ExchangeMessage message)
{
    switch (message.kind) {
    case Kind::credit:
        question.text.allow(message.number);
        return sendPieces(question);
    case Kind::answer:
        return takeFirst(question, message);
    case Kind::piece:
        return takePiece(question, message.number, message.text);
    case Kind::failure:
        return fail(question, failureOf(message.text));
    case Kind::cancel:
        return fail(question, wentAway());
    default:
        return;
    }
}

void OpenQuestions::takeFirst(Question& question, ExchangeMessage const& message)
{
    if (question.answer)
        return;
    if (message.size > maxAnswer)
        return fail(question, {.message = "The answer of the machine's node is too large"});
    question.answer.emplace(message.size);
    takePiece(question, 0, message.text);
}

void OpenQuestions::takePiece(Question& question, std::uint64_t at, std::string_view piece)
{
    if (!question.answer || !question.answer->add(at, piece)) {
        sendControl(question, Kind::cancel, 0);
        return fail(question, {.message = "A piece of the answer was lost between two nodes"});
    }
    if (auto const limit = question.answer->newLimit())
        sendControl(question, Kind::credit, *limit);
}

void OpenQuestions::fail(Question& question, Failure failure)
{
    question.failure = std::move(failure);
    question.wake();
}

void OpenQuestions::nobodyHolds(std::string const& subject)
{
    std::uint64_t id = 0;
    std::string_view const token = std::string_view(subject).substr(subject.rfind('.') + 1);
    std::from_chars(token.data(), token.data() + token.size(), id);
    if (auto const found = questions.find(id); found != questions.end() && found->second->holder.empty())
        fail(*found->second, {.code = ErrorCode::machineOffline, .message = "The machine is not connected"});
}

void OpenQuestions::nodeLost(std::string const& node)
{
    for (auto const& [id, question] : questions)
        if (question->holder == node && !question->isOver())
            fail(*question, wentAway());
}

void OpenQuestions::connectionLost()
{
    for (auto const& [id, question] : questions)
        if (!question->isOver())
            fail(*question, {.code = ErrorCode::machineUnavailable,
                             .message = "The gateway's nodes lost each other before the machine answered"});
}

} // namespace zelvo::service
