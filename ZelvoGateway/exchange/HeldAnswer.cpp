#include "ZelvoGateway/exchange/HeldAnswer.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/exchange/Cancellation.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/system/system_error.hpp>

#include <optional>
#include <variant>

namespace zelvo::service {

namespace {

/// As a value, because two tasks of which one has to end first must not throw: a failure would wait for the
/// other, and two cancellations would be another exception.
struct Outcome {
    std::string text;
    std::optional<Failure> failure;
};

Task<Outcome> outcomeOf(std::shared_ptr<MachineHolder> holder, std::string kind, std::string text)
{
    try {
        co_return Outcome{.text = co_await holder->answer(std::move(kind), std::move(text)), .failure = {}};
    } catch (Failure const& failure) {
        co_return Outcome{.text = {}, .failure = failure};
    } catch (boost::system::system_error const&) {
        co_return Outcome(); // Cancelled.
    } catch (std::exception const&) {
        co_return Outcome{.text = {}, .failure = Failure{.message = "The node of the machine failed"}};
    }
}

} // namespace

Task<std::string> answerOf(std::shared_ptr<MachineHolder> holder,
                           std::string kind,
                           std::string text,
                           Clock* clock,
                           Duration patience)
{
    using namespace asio::experimental::awaitable_operators;
    auto first = co_await (outcomeOf(std::move(holder), std::move(kind), std::move(text)) ||
                           clock->sleepThroughCancel(patience));
    co_await throwIfCancelled();
    if (first.index() == 1)
        throw Failure{.code = ErrorCode::timeout, .message = "The machine's node did not answer in time"};
    Outcome& outcome = std::get<0>(first);
    if (outcome.failure)
        throw *std::move(outcome.failure);
    co_return std::move(outcome.text);
}

} // namespace zelvo::service
