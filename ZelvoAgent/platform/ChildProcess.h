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

/// How to start a child.
struct ChildLaunch {
    std::string executable;               ///< an absolute path
    std::vector<std::string> arguments;   ///< without the program's own name
    std::optional<std::string> directory; ///< working directory; this program's if not set
    /// Added to this program's environment; these values replace existing ones.
    std::map<std::string, std::string> environment;
};

/// Why a child could not be started; nothing of it ran.
struct LaunchFailure : std::runtime_error {
    using runtime_error::runtime_error;
};

enum class ChildStream { output, error };
enum class GroupSignal { terminate, kill };

/// A child that leads its own process group, with the null device as its input and a pipe on each of its
/// outputs. Destroying the object does not end the child, and leaves no zombie.
/// Thread: one serial context on the agent's thread, the destructor too.
/// Made by: ChildProcesses.
class ChildProcess {
public:
    virtual ~ChildProcess() = default;
    virtual std::int32_t pid() const = 0;
    /// Changes to false before exit() resumes anybody.
    virtual bool isRunning() const = 0;
    /// Whether any process, the child or one that it started, still has one of the outputs open.
    virtual bool isOutputHeld() const = 0;
    /// Sends the signal to the child's whole group, also after the child itself has ended.
    virtual void signal(GroupSignal signal) = 0;

    /// Waits for the end. Returns the exit code, or the number of the signal that ended it.
    virtual Task<std::int32_t> exit() = 0;
    /// Waits for output. Returns the number of bytes written to `buffer`, which must outlive the call; 0 at
    /// the end of the stream. One read of each stream at a time.
    virtual Task<std::size_t> read(ChildStream stream, std::span<char> buffer) = 0;
};

/// Starts programs. A running child occupies no thread.
/// Made by: platform/linux/system/LinuxChildProcesses, tests/fakes/FakeChildProcesses.
class ChildProcesses {
public:
    virtual ~ChildProcesses() = default;
    /// Throws LaunchFailure. Thread: the child's.
    virtual Task<std::unique_ptr<ChildProcess>> launch(ChildLaunch launch) = 0;
    /// At the program's end: sends SIGTERM to the group of every child that is not reaped yet. Nothing starts
    /// from then on. Thread: any.
    virtual void terminateAll() = 0;
};

} // namespace zelvo
