#pragma once

#include "app/QtExecutor.h"
#include "base/Contexts.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <thread>

namespace zelvo {

/// The three places where the program's code runs: the toolkit's event loop on the main thread, one agent
/// thread with one io_context, and a small pool of workers. Made and stopped on the main thread. Lives to the
/// end of the process: tasks that wait hold references to what was built upon these contexts, so they are
/// never taken apart.
class ProgramThreads {
public:
    ProgramThreads();
    ~ProgramThreads() = delete;

    Contexts contexts();
    asio::io_context& agentContext() { return agent; }

    /// Ends the agent thread and the workers when what they run at this moment has ended, then drops what
    /// waits for the main thread. Nothing runs on any of the three from here on.
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
