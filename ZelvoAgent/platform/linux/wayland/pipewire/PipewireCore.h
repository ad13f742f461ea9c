#pragma once

#include "base/Task.h"
#include "platform/linux/wayland/pipewire/Pipewire.h"

#include <functional>
#include <memory>

namespace zelvo {

/// A connection to PipeWire, driven by the agent's io_context through its descriptor. Thread: agent.
class PipewireCore : public std::enable_shared_from_this<PipewireCore> {
public:
    /// descriptor  of a connection that the desktop opened for us, which this object closes; -1 for the
    ///             session's socket
    /// Throws ScreenFailure.
    PipewireCore(Executor agent, int descriptor);
    ~PipewireCore();
    PipewireCore(PipewireCore const&) = delete;
    PipewireCore& operator=(PipewireCore const&) = delete;

    /// Starts to handle messages. Called once.
    void start();
    pw_core* raw() const;
    Executor const agent;

private:
    struct Parts;

    void wait();
    void iterate();

    std::unique_ptr<Parts> parts;
};

} // namespace zelvo
