#pragma once

#include "fakes/Run.h"
#include "platform/linux/system/LinuxChildProcesses.h"
#include "unit/system/TemporaryFolder.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace zelvo {

/// The state letter of a process, 'Z' for a zombie; `nullopt` if it does not exist.
inline std::optional<char> stateOf(pid_t pid)
{
    std::string const text = contentOf("/proc/" + std::to_string(pid) + "/stat");
    auto const behindName = text.rfind(") ");
    return behindName == std::string::npos ? std::nullopt : std::optional(text.at(behindName + 2));
}

/// Real child processes; the agent's code runs on the test's thread. Waits end when their event happens.
class ChildrenTest : public testing::Test {
protected:
    ~ChildrenTest() override { pool.join(); }

    Contexts contexts() { return {io.get_executor(), io.get_executor(), pool.get_executor()}; }

    void until(std::function<bool()> const& happened) { runUntil(io, happened); }

    /// Runs a task to its end and returns its result or throws its exception.
    template <class T>
    T wait(Task<T> task)
    {
        return runToEnd(io, std::move(task));
    }

    asio::io_context io;
    asio::executor_work_guard<asio::io_context::executor_type> work{io.get_executor()};
    asio::thread_pool pool{2};
    LinuxChildProcesses children{contexts()};
};

} // namespace zelvo
