#pragma once

#include "base/Contexts.h"
#include "fakes/Run.h"
#include "platform/WebSocket.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace zelvo {

/// Sets an environment variable while it exists, or unsets it if `value` is absent.
class ScopedVariable {
public:
    ScopedVariable(std::string variable, std::optional<std::string> value) : name(std::move(variable))
    {
        if (char const* const before = std::getenv(name.c_str()))
            saved = before;
        assign(value);
    }
    ~ScopedVariable() { assign(saved); }
    ScopedVariable(ScopedVariable const&) = delete;
    ScopedVariable& operator=(ScopedVariable const&) = delete;

private:
    void assign(std::optional<std::string> const& value)
    {
        if (value)
            ::setenv(name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(name.c_str());
    }

    std::string name;
    std::optional<std::string> saved;
};

/// Real sockets on the loopback interface, with client and server on the test's thread. Waits end as soon as
/// their event happens; after `patience` the test fails.
class NetTest : public testing::Test {
protected:
    Contexts contexts() { return contextsOn(io); }

    void until(std::function<bool()> const& happened) { runUntil(io, happened); }

    /// Runs all handlers that become ready within the time.
    void runFor(std::chrono::milliseconds time)
    {
        io.restart();
        io.run_for(time);
    }

    template <class T>
    T wait(Task<T> task)
    {
        return runToEnd(io, std::move(task));
    }

    /// The NetworkFailure of a task; `nullopt` if it succeeds.
    template <class T>
    std::optional<NetworkFailure> failureOfTask(Task<T> task)
    {
        try {
            wait(std::move(task));
        } catch (NetworkFailure const& failure) {
            return failure;
        }
        return std::nullopt;
    }

    asio::io_context io;
    asio::executor_work_guard<asio::io_context::executor_type> work{io.get_executor()};

private:
    // The tests must reach the loopback interface whatever proxy the machine uses.
    ScopedVariable noHttpProxy{"http_proxy", {}};
    ScopedVariable noHttpsProxy{"https_proxy", {}};
    ScopedVariable noUpperHttpsProxy{"HTTPS_PROXY", {}};
    ScopedVariable noAllProxy{"all_proxy", {}};
    ScopedVariable noUpperAllProxy{"ALL_PROXY", {}};
    ScopedVariable noExemption{"no_proxy", {}};
    ScopedVariable noUpperExemption{"NO_PROXY", {}};
};

} // namespace zelvo
