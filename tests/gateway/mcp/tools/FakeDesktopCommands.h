#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/tools/DesktopCommands.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

/// A gateway with machines that answer as a test says. Thread: one.
class FakeDesktopCommands final : public DesktopCommands {
public:
    using Answer = std::function<json::value(DesktopCommand const& command)>;

    std::vector<ReachedMachine> reached;   ///< what a test sets
    std::map<std::string, Answer> answers; ///< by method; they may throw Failure
    std::set<std::string> held;            ///< methods that are not answered before release()
    std::vector<DesktopCommand> sent;      ///< what a test reads
    std::size_t cancelled = 0;             ///< commands that were taken back
    std::size_t running = 0;
    std::size_t maxRunning = 0;

    std::vector<ReachedMachine> machines() override { return reached; }

    Task<CommandResult> run(DesktopCommand command) override
    {
        sent.push_back(command);
        maxRunning = std::max(maxRunning, ++running);
        Counted const counted(running);
        if (held.contains(command.method))
            co_await waitForRelease();
        auto const answer = answers.find(command.method);
        if (answer == answers.end())
            throw Failure{
                .code = ErrorCode::invalidRequest, .message = "Invalid request", .requestId = "req_1"};
        json::value value = answer->second(command);
        co_return CommandResult{.value = std::move(value)};
    }

    /// Answers what is held, and from now on everything.
    void release()
    {
        held.clear();
        for (auto const& timer : std::exchange(waiting, {}))
            timer->cancel();
    }

    /// The commands of one method, as the params that they had.
    std::vector<std::string> paramsOf(std::string_view method) const
    {
        std::vector<std::string> all;
        for (DesktopCommand const& command : sent)
            if (command.method == method)
                all.push_back(writeJson(command.params));
        return all;
    }
    std::string methods() const
    {
        std::string list;
        for (DesktopCommand const& command : sent)
            list += (list.empty() ? "" : " ") + command.method;
        return list;
    }

private:
    struct Counted {
        explicit Counted(std::size_t& count) : count(count) {}
        Counted(Counted const&) = delete;
        Counted& operator=(Counted const&) = delete;
        ~Counted() { --count; }
        std::size_t& count;
    };

    Task<> waitForRelease()
    {
        auto const timer = std::make_shared<asio::steady_timer>(co_await asio::this_coro::executor,
                                                                asio::steady_timer::time_point::max());
        waiting.push_back(timer);
        co_await timer->async_wait(asio::as_tuple(asio::use_awaitable));
        auto const state = co_await asio::this_coro::cancellation_state;
        if (state.cancelled() != asio::cancellation_type::none) {
            ++cancelled;
            throw boost::system::system_error(asio::error::operation_aborted);
        }
    }

    std::vector<std::shared_ptr<asio::steady_timer>> waiting;
};

} // namespace zelvo::service
