#pragma once

#include "platform/linux/system/LinuxChildProcesses.h"
#include "unit/system/TemporaryFolder.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <exception>
#include <functional>
#include <optional>
#include <stdexcept>

namespace zelvo {

/// The state letter of a process, 'Z' for a zombie; nothing when it is gone.
inline std::optional<char> stateOf(pid_t pid)
{
    std::string const text = contentOf("/proc/" + std::to_string(pid) + "/stat");
    auto const behindName = text.rfind(") ");
    return behindName == std::string::npos ? std::nullopt : std::optional(text.at(behindName + 2));
}

/// Real children. The agent's part runs on the test's thread; waits end when what they wait for has happened.
class ChildrenTest : public testing::Test {
protected:
    static constexpr auto patience = std::chrono::seconds(20);

    ~ChildrenTest() override { pool.join(); }

    Contexts contexts() { return {io.get_executor(), io.get_executor(), pool.get_executor()}; }

    void until(std::function<bool()> const& happened)
    {
        auto const end = std::chrono::steady_clock::now() + patience;
        io.restart();
        while (!happened()) {
            if (std::chrono::steady_clock::now() > end)
                throw std::runtime_error("what the test waits for did not happen");
            io.run_one_for(std::chrono::milliseconds(10));
        }
    }

    /// Runs a task to its end and gives its result; throws what it throws.
    template <class T>
    T wait(Task<T> task)
    {
        std::exception_ptr failure;
        std::optional<T> result;
        bool done = false;
        asio::co_spawn(io, std::move(task), [&](std::exception_ptr error, T value) {
            failure = error;
            result.emplace(std::move(value));
            done = true;
        });
        until([&] { return done; });
        if (failure)
            std::rethrow_exception(failure);
        return std::move(*result);
    }

    asio::io_context io;
    asio::executor_work_guard<asio::io_context::executor_type> work{io.get_executor()};
    asio::thread_pool pool{2};
    LinuxChildProcesses children{contexts()};
};

} // namespace zelvo
