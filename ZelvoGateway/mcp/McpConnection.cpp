#include "ZelvoGateway/mcp/McpConnection.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/mcp/ToolFailure.h"

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>

#include <utility>

namespace zelvo::service {

namespace {

JsonRpcError internalFault(char const* reason)
{
    Log::error(std::string("a tool failed: ") + reason);
    return {.code = JsonRpcCode::internalError, .message = "Internal error"};
}

} // namespace

McpExchangeNumber McpConnection::receive(JsonRpcDocument document, std::shared_ptr<McpReplies> replies)
{
    auto const self = shared_from_this();
    McpOutput output = session.receive(std::move(document));
    McpExchangeNumber const exchange = output.exchange;
    if (exchange == 0) { // The session has ended.
        replies->finish();
        return exchange;
    }
    open.emplace(exchange, std::move(replies));
    carryOut(std::move(output));
    return exchange;
}

void McpConnection::abandon(McpExchangeNumber exchange)
{
    auto const self = shared_from_this();
    carryOut(session.abandon(exchange));
}

void McpConnection::end()
{
    auto const self = shared_from_this();
    carryOut(session.end());
}

void McpConnection::carryOut(McpOutput output)
{
    for (McpCallNumber const call : output.cancelled)
        cancel(call);
    for (McpCall& call : output.calls)
        begin(std::move(call));
    for (McpMessage& message : output.messages)
        if (auto const exchange = open.find(message.exchange); exchange != open.end())
            exchange->second->send(std::move(message));
    for (McpExchangeNumber const number : output.finished)
        if (auto const exchange = open.extract(number))
            exchange.mapped()->finish();
}

void McpConnection::cancel(McpCallNumber call)
{
    if (auto task = tasks.extract(call))
        task.mapped().cancel();
}

void McpConnection::begin(McpCall call)
{
    McpCallNumber const number = call.number;
    auto const shared = std::make_shared<McpCall>(std::move(call));
    tasks.emplace(number, TaskHandle());
    TaskHandle handle =
        spawn(executor, [self = shared_from_this(), shared] { return self->run(std::move(*shared)); });
    // The call may have ended within spawn().
    if (auto const task = tasks.find(number); task != tasks.end())
        task->second = std::move(handle);
}

Task<> McpConnection::run(McpCall call)
{
    McpCallNumber const number = call.number;
    McpOutcome outcome = co_await outcomeOf(std::move(call));
    if (tasks.erase(number) > 0) // Else it was cancelled.
        carryOut(session.complete(number, std::move(outcome)));
}

Task<McpOutcome> McpConnection::outcomeOf(McpCall call)
{
    ToolRunner::Report report = reportOf(call.number);
    try {
        co_return co_await runner->run(std::move(call), std::move(report));
    } catch (JsonRpcError const& error) {
        co_return error;
    } catch (Failure const& failure) {
        co_return failureResult({.code = failure.code, .what = failure.message});
    } catch (boost::system::system_error const& error) {
        if (error.code() == asio::error::operation_aborted)
            co_return JsonRpcError{.message = "The call was cancelled"};
        co_return internalFault(error.what());
    } catch (std::exception const& error) {
        co_return internalFault(error.what());
    }
}

ToolRunner::Report McpConnection::reportOf(McpCallNumber call)
{
    return [weak = weak_from_this(), call](double value, std::string message) {
        if (auto const self = weak.lock())
            self->carryOut(self->session.progress(call, value, std::move(message)));
    };
}

} // namespace zelvo::service
