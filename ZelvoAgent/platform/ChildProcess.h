#pragma once

#include "base/Task.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo {

/// What a child is started with.
struct ChildLaunch {
    std::string executable;               ///< an absolute path
    std::vector<std::string> arguments;   ///< without the program's own name
    std::optional<std::string> directory; ///< the folder that it starts in; without one, this program's
    /// Joined to this program's environment; where a name is in both, this value holds.
    std::map<std::string, std::string> environment;
};

/// Why a child could not be started; nothing of it ran.
struct LaunchFailure : std::runtime_error {
    using runtime_error::runtime_error;
};

enum class ChildStream { output, error };
enum class GroupSignal { terminate, kill };

/// A child that leads a process group of its own, with the null device as its input and a pipe on each of its
/// outputs. Letting go of it does not end it, and leaves no zombie behind.
/// Thread: one serial context on the agent's thread, the destructor too.
/// Made by: ChildProcesses.
class ChildProcess {
public:
    virtual ~ChildProcess() = default;
    virtual std::int32_t pid() const = 0;
    /// At this very moment; false before exit() has resumed anybody.
    virtual bool isRunning() const = 0;
    /// Whether anybody can still write to one of the outputs: the child, or what it left behind.
    virtual bool isOutputHeld() const = 0;
    /// Reaches the child and everything in its group; the child's own end changes nothing about that.
    virtual void signal(GroupSignal signal) = 0;

    /// Waits for the end. Gives the exit code, or the number of the signal that ended it.
    virtual Task<std::int32_t> exit() = 0;
    /// Waits for output. Gives the count of bytes that were put into `buffer`, which must live so long; 0 at
    /// the end of the stream. One read of each stream at a time.
    virtual Task<std::size_t> read(ChildStream stream, std::span<char> buffer) = 0;
};

/// Starts programs. No thread is held while one runs.
/// Made by: platform/linux/system/LinuxChildProcesses, tests/fakes/FakeChildProcesses.
class ChildProcesses {
public:
    virtual ~ChildProcesses() = default;
    /// Throws LaunchFailure. Thread: as for the child that it gives.
    virtual Task<std::unique_ptr<ChildProcess>> launch(ChildLaunch launch) = 0;
    /// At the program's end: SIGTERM to every group whose child is still followed. Nothing starts from here
    /// on. Thread: any.
    virtual void terminateAll() = 0;
};

} // namespace zelvo
