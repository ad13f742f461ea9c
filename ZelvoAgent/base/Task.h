#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>

#include <functional>
#include <memory>

namespace zelvo {

namespace asio = boost::asio;

/// Where work runs: the main event loop, the agent thread, a strand on it, or the workers.
using Executor = asio::any_io_executor;

/// A coroutine that gives a T. It starts when it is awaited.
template <class T = void>
using Task = asio::awaitable<T>;

/// The handle of a started task. Letting go of it does not stop the task.
/// Thread: any.
class TaskHandle {
public:
    TaskHandle() = default;

    /// Ends the task at its present or next wait, which then fails with operation_aborted. At once when
    /// called on the task's own executor, soon otherwise. Harmless when the task has ended.
    void cancel();

    /// True when a task was started under this handle, running or not.
    explicit operator bool() const { return state != nullptr; }

    struct State;

private:
    friend TaskHandle spawn(Executor executor, std::function<Task<>()> body);
    std::shared_ptr<State> state;
};

/// Starts a task of its own on an executor. What the body captures lives as long as the task. A failure other
/// than cancellation is a fault of the program: it is said on standard error and goes no further.
TaskHandle spawn(Executor executor, std::function<Task<>()> body);

} // namespace zelvo
