#pragma once

#include "base/AsyncCondition.h"
#include "platform/ChildProcess.h"

#include <array>
#include <functional>
#include <utility>

namespace zelvo {

/// A child in memory. A test writes and closes its outputs, ends it, and reads the signals that it got.
class FakeChild {
public:
    ChildLaunch launch;
    std::int32_t pid = 0;
    std::vector<GroupSignal> signals;
    std::function<void(GroupSignal)> onSignal;
    bool isRunning = true;
    bool isLetGo = false;
    std::size_t readBytes = 0; ///< sum of both outputs

    void write(ChildStream stream, std::string text)
    {
        Pipe& pipe = pipes.at(static_cast<std::size_t>(stream));
        pipe.readers.notifyAll([&] { pipe.text += text; });
    }
    void close(ChildStream stream)
    {
        Pipe& pipe = pipes.at(static_cast<std::size_t>(stream));
        pipe.readers.notifyAll([&] { pipe.isClosed = true; });
    }
    /// The process ends; its outputs stay open.
    void exit(std::int32_t code)
    {
        isRunning = false;
        waiting.notifyAll([&] { status = code; });
    }
    /// The process ends and its outputs are closed.
    void end(std::int32_t code)
    {
        close(ChildStream::output);
        close(ChildStream::error);
        exit(code);
    }

    bool isOutputHeld() const { return !pipes[0].isClosed || !pipes[1].isClosed; }
    Task<std::int32_t> waitForExit()
    {
        co_await waiting.wait([this] { return status.has_value(); });
        co_return *status;
    }
    Task<std::size_t> read(ChildStream stream, std::span<char> buffer)
    {
        Pipe& pipe = pipes.at(static_cast<std::size_t>(stream));
        co_await pipe.readers.wait([&] { return !pipe.text.empty() || pipe.isClosed; });
        std::size_t const count = pipe.text.copy(buffer.data(), buffer.size());
        pipe.text.erase(0, count);
        readBytes += count;
        co_return count;
    }

private:
    struct Pipe {
        std::string text;
        bool isClosed = false;
        AsyncCondition readers;
    };
    std::array<Pipe, 2> pipes;
    std::optional<std::int32_t> status;
    AsyncCondition waiting;
};

/// Starts children in memory and keeps them for the test.
class FakeChildProcesses final : public ChildProcesses {
public:
    std::vector<std::shared_ptr<FakeChild>> children;
    std::optional<std::string> failure;                       ///< if set, launches fail with it
    std::function<void(std::shared_ptr<FakeChild>)> onLaunch; ///< called after the launch
    bool areTerminated = false;

    FakeChild& last() { return *children.at(children.size() - 1); }

    Task<std::unique_ptr<ChildProcess>> launch(ChildLaunch launch) override
    {
        if (failure)
            throw LaunchFailure(*failure);
        auto child = std::make_shared<FakeChild>();
        child->launch = std::move(launch);
        child->pid = 5000 + static_cast<std::int32_t>(children.size());
        children.push_back(child);
        if (onLaunch)
            onLaunch(child);
        co_return std::make_unique<Handle>(std::move(child));
    }
    void terminateAll() override { areTerminated = true; }

private:
    class Handle final : public ChildProcess {
    public:
        explicit Handle(std::shared_ptr<FakeChild> child) : child(std::move(child)) {}
        Handle(Handle const&) = delete;
        Handle& operator=(Handle const&) = delete;
        ~Handle() override { child->isLetGo = true; }

        std::int32_t pid() const override { return child->pid; }
        bool isRunning() const override { return child->isRunning; }
        bool isOutputHeld() const override { return child->isOutputHeld(); }
        void signal(GroupSignal signal) override
        {
            child->signals.push_back(signal);
            if (child->onSignal)
                child->onSignal(signal);
        }
        Task<std::int32_t> exit() override { return child->waitForExit(); }
        Task<std::size_t> read(ChildStream stream, std::span<char> buffer) override
        {
            return child->read(stream, buffer);
        }

    private:
        std::shared_ptr<FakeChild> child;
    };
};

} // namespace zelvo
