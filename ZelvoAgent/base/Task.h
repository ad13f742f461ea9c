#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>

#include <functional>
#include <memory>

namespace zelvo {

namespace asio = boost::asio;

/// Where work runs: the main event loop, the agent thread, a strand on the agent thread, or the workers.
using Executor = asio::any_io_executor;

/// A coroutine that returns a T. It starts when it is awaited.
template <class T = void>
using Task = asio::awaitable<T>;

/// The handle of a spawned task. Destroying the handle does not stop the task.
/// Thread: any.
class TaskHandle {
public:
    TaskHandle() = default;

    /// Cancels the task: its present or next wait fails with operation_aborted. Immediate if called on the
    /// task's executor, asynchronous otherwise. No effect if the task has ended.
    void cancel();

    /// True if the handle belongs to a task, whether or not it still runs.
    explicit operator bool() const { return state != nullptr; }

    struct State;

private:
    friend TaskHandle spawn(Executor executor, std::function<Task<>()> body);
    std::shared_ptr<State> state;
};

/// Starts a separate task on an executor. The body's captures live as long as the task. An exception other
/// than a cancellation is a programming error: it is reported on standard error and not rethrown.
TaskHandle spawn(Executor executor, std::function<Task<>()> body);

} // namespace zelvo
