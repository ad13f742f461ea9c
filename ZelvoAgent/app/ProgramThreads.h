#pragma once

#include "app/QtExecutor.h"
#include "base/Contexts.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <thread>

namespace zelvo {

/// The three contexts that run the program's code: the toolkit's event loop on the main thread, one agent
/// thread with one io_context, and a small pool of workers. Created and stopped on the main thread. Lives
/// until the process ends: suspended tasks hold references to objects built on these contexts, so it is never
/// destroyed.
class ProgramThreads {
public:
    ProgramThreads();
    ~ProgramThreads() = delete;

    Contexts contexts();
    asio::io_context& agentContext() { return agent; }

    /// Stops the agent thread and the workers once their current handlers return, then drops what is queued
    /// for the main thread. Nothing runs on any of the three afterwards.
    void stop();

private:
    void runAgent();

    QtContext main;
    asio::io_context agent{1};
    asio::executor_work_guard<asio::io_context::executor_type> agentWork;
    asio::thread_pool workers;
    std::thread agentThread;
};

} // namespace zelvo
