#include "base/Task.h"

#include "base/QuietEnd.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/system/system_error.hpp>

#include <cstdio>
#include <exception>

namespace zelvo {

struct TaskHandle::State {
    Executor executor;
    asio::cancellation_signal signal; // executor
};

namespace {

void reportFailure(std::exception_ptr const& failure)
{
    if (!failure)
        return;
    try {
        std::rethrow_exception(failure);
    } catch (boost::system::system_error const& error) {
        if (error.code() != asio::error::operation_aborted)
            std::fprintf(stderr, "Zelvo: a task failed: %s\n", error.what());
    } catch (std::exception const& error) {
        std::fprintf(stderr, "Zelvo: a task failed: %s\n", error.what());
    } catch (...) {
        // Some of our own errors do not derive from std::exception. Rethrown, they would end the process.
        std::fputs("Zelvo: a task failed\n", stderr);
    }
}

} // namespace

void TaskHandle::cancel()
{
    if (!state)
        return;
    asio::dispatch(state->executor, [kept = state] { kept->signal.emit(asio::cancellation_type::terminal); });
}

TaskHandle spawn(Executor executor, std::function<Task<>()> body)
{
    TaskHandle handle;
    handle.state = std::make_shared<TaskHandle::State>(executor);
    auto onEnd = [kept = handle.state](std::exception_ptr failure) { reportFailure(failure); };
    asio::co_spawn(executor, withQuietEnd(std::move(body)),
                   asio::bind_cancellation_slot(handle.state->signal.slot(), std::move(onEnd)));
    return handle;
}

} // namespace zelvo
