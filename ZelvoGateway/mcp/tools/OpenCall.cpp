#include "ZelvoGateway/mcp/tools/OpenCall.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr Duration reportPeriod = 5s;

} // namespace

void OpenCall::begin(Body body, std::function<std::string()> what)
{
    activity = std::move(what);
    task = spawn(server, [self = shared_from_this(), body = std::move(body)] { return self->run(body); });
}

Task<> OpenCall::run(Body body)
{
    McpToolResult result;
    try {
        result = co_await body();
    } catch (ToolFailure const& failure) {
        result = failureResult(failure);
    } catch (Failure const& failure) {
        result = failureResult(toolFailure(failure));
    } catch (boost::system::system_error const& error) {
        if (error.code() == asio::error::operation_aborted)
            throw;
        result = failureResult({.what = "The gateway failed"});
    } catch (std::exception const& error) {
        Log::error(std::string("a tool failed: ") + error.what());
        result = failureResult({.what = "The gateway failed"});
    }
    outcome = std::move(result);
    ended = clock.now();
    wakeup.wakeAll();
}

Task<> OpenCall::wait(Instant until, ToolRunner::Report report)
{
    auto const self = shared_from_this();
    Instant const start = clock.now();
    for (Instant next = start + reportPeriod; !outcome && clock.now() < until;) {
        co_await wakeup.wait(std::min(next, until));
        if (outcome || clock.now() < next)
            continue;
        next += reportPeriod;
        auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(clock.now() - start).count();
        if (report)
            report(static_cast<double>(seconds), activity());
    }
}

} // namespace zelvo::service
