#include "ZelvoGateway/exchange/LocalExchange.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/exchange/HeldAnswer.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace zelvo::service {

class LocalExchange::Entry final : public ExchangeEntry {
public:
    Entry(std::shared_ptr<State> state, std::string machineId, std::uint64_t term)
        : state(std::move(state)), machineId(std::move(machineId)), term(term)
    {
    }
    ~Entry() override { state->machines.remove(machineId, term); }

private:
    std::shared_ptr<State> state;
    std::string machineId;
    std::uint64_t term;
};

std::unique_ptr<ExchangeEntry>
LocalExchange::hold(std::string machineId, std::uint64_t term, std::shared_ptr<MachineHolder> holder)
{
    auto entry = std::make_unique<Entry>(state, machineId, term);
    state->machines.add(machineId, {.term = term, .holder = std::move(holder)});
    return entry;
}

Task<std::string>
LocalExchange::ask(std::string machineId, std::string kind, std::string text, Duration patience)
{
    auto holder = state->machines.find(machineId);
    if (!holder)
        throw Failure{.code = ErrorCode::machineOffline, .message = "The machine is not connected"};
    co_return co_await answerOf(std::move(holder), std::move(kind), std::move(text), &clock, patience);
}

void LocalExchange::publish(std::string topic, std::string text)
{
    asio::post(server, [state = state, topic = std::move(topic), text = std::move(text)] {
        state->observers.hear(topic, text);
    });
}

std::unique_ptr<ExchangeEntry> LocalExchange::observe(std::string topic, Observer observer)
{
    return state->observers.add(std::move(topic), std::move(observer));
}

} // namespace zelvo::service
