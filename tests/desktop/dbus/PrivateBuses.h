#pragma once

#include "base/Contexts.h"
#include "desktop/harness/ChildProcesses.h"
#include "desktop/harness/WaitFor.h"
#include "fakes/Run.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/system/LinuxClock.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zelvo::test {

enum class BusKind { session, system };

/// A private session bus and system bus without activatable services, and new folders. The environment of
/// this process points to them. The destructor ends and removes everything. Throws std::runtime_error if
/// something does not start.
class PrivateBuses {
public:
    PrivateBuses();
    ~PrivateBuses();
    PrivateBuses(PrivateBuses const&) = delete;
    PrivateBuses& operator=(PrivateBuses const&) = delete;

    void start(BusKind kind);
    void stop(BusKind kind);

    pid_t run(std::vector<std::string> const& command, Environment const& extra = {});
    void end(pid_t pid);
    std::string output(pid_t pid) { return children->output(pid); }
    int waitForEnd(pid_t pid) { return children->waitForEnd(pid, 10); }

    /// A python-dbusmock of one object, or of a template.
    pid_t mock(BusKind kind, std::string const& name, std::string const& path, std::string const& interface);
    pid_t mockTemplate(BusKind kind, std::string const& name, std::string const& templateName);
    /// Calls a method with arguments in busctl's form ("sb", "text", "true") and returns what busctl prints.
    /// Throws if it fails.
    std::string call(BusKind kind,
                     std::string const& name,
                     std::string const& path,
                     std::string const& interface,
                     std::string const& member,
                     std::vector<std::string> const& arguments = {});
    /// The same on the mock's control interface.
    std::string control(BusKind kind,
                        std::string const& name,
                        std::string const& path,
                        std::string const& member,
                        std::vector<std::string> const& arguments);
    bool hasOwner(BusKind kind, std::string const& name);

    std::string addressOf(BusKind kind) const;
    std::filesystem::path const& folder() const { return root; }

private:
    pid_t waitForOwner(BusKind kind, std::string const& name, pid_t pid);

    std::filesystem::path root;
    std::unique_ptr<ChildProcesses> children;
    pid_t buses[2] = {0, 0};
};

/// The program's threads: the agent's always runs, the main one runs while a test waits.
class RunningContexts {
public:
    RunningContexts();
    ~RunningContexts();
    RunningContexts(RunningContexts const&) = delete;
    RunningContexts& operator=(RunningContexts const&) = delete;

    Contexts contexts() { return {main.get_executor(), agent.get_executor(), workers.get_executor()}; }
    /// Runs the main thread until the condition is true; false if it does not become true.
    bool eventually(std::function<bool()> condition);
    /// Runs a task to its end, on any thread, and returns its result.
    template <class T>
    T await(Task<T> task);
    /// Runs pending work, and checks for a while that the condition stays true.
    bool staysSo(std::function<bool()> condition);

    asio::io_context main;
    asio::io_context agent;
    asio::thread_pool workers{2};
    LinuxClock clock{agent.get_executor()};
    BusConnection system{agent.get_executor(), clock, openSystemBus};
    BusConnection session{agent.get_executor(), clock, openSessionBus};

private:
    asio::executor_work_guard<asio::io_context::executor_type> work{agent.get_executor()};
    std::thread thread;
};

template <class T>
T RunningContexts::await(Task<T> task)
{
    return runWith(main.get_executor(), std::move(task), [this](auto const& hasEnded) {
        require("the task's end", [&] { return eventually(hasEnded); });
    });
}

} // namespace zelvo::test
