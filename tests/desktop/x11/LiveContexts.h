#pragma once

#include "base/Contexts.h"
#include "base/Task.h"
#include "fakes/Run.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <thread>

namespace zelvo::test {

/// The three contexts as in the program: two threads and a pool.
class LiveContexts {
public:
    ~LiveContexts() { stop(); }

    Contexts contexts() { return {main.get_executor(), agent.get_executor(), workers.get_executor()}; }

    /// Runs a task on the agent's thread and returns its result.
    template <class T>
    T run(Task<T> task)
    {
        return runBlocking(agent.get_executor(), std::move(task));
    }

    void stop()
    {
        workers.stop();
        workers.join();
        for (auto* io : {&main, &agent})
            io->stop();
        for (auto* thread : {&mainThread, &agentThread})
            if (thread->joinable())
                thread->join();
    }

private:
    asio::io_context main;
    asio::io_context agent;
    asio::thread_pool workers{2};
    asio::executor_work_guard<asio::io_context::executor_type> mainWork{main.get_executor()};
    asio::executor_work_guard<asio::io_context::executor_type> agentWork{agent.get_executor()};
    std::thread mainThread{[this] { main.run(); }};
    std::thread agentThread{[this] { agent.run(); }};
};

} // namespace zelvo::test
