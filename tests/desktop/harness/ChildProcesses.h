#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zelvo::test {

using Environment = std::map<std::string, std::string>;

/// The programs that one test started, and what those started in turn. All of them have ended when this
/// object is gone: the test's process takes in orphans (subreaper), and those that carry the mark are ended
/// by their process ids. Thread: the test's main thread, since a child is ended by the kernel when the thread
/// that started it ends.
class ChildProcesses {
public:
    /// mark     an entry "NAME=value" of the environment that every child of this test carries and nobody
    /// else does outputs  the folder for what the children write
    ChildProcesses(std::string mark, std::filesystem::path outputs);
    ~ChildProcesses();
    ChildProcesses(ChildProcesses const&) = delete;
    ChildProcesses& operator=(ChildProcesses const&) = delete;

    /// Starts a program in a process group of its own, input from /dev/null, output into a file. inherited:
    /// descriptors that it gets under the same number. Throws std::runtime_error when the program can't be
    /// started.
    pid_t start(std::vector<std::string> const& command,
                Environment const& environment,
                std::vector<int> const& inherited = {});
    bool isRunning(pid_t pid);
    /// Asks a child to end, and ends it after a second. Gives its wait status; -1 when it is unknown.
    int end(pid_t pid, int firstSignal);
    /// Waits for a child that ends by itself; ends it after `seconds`. Gives its exit code, -signal after a
    /// signal.
    int waitForEnd(pid_t pid, int seconds);
    /// What a child has written so far, to both of its outputs.
    std::string output(pid_t pid) const;
    /// Ends everything that is left.
    void endAll();

private:
    bool reap(pid_t pid);
    std::vector<pid_t> marked() const;

    std::string mark;
    std::filesystem::path outputs;
    std::map<pid_t, std::filesystem::path> outputOf;
    std::map<pid_t, int> ended; // pid -> wait status
};

} // namespace zelvo::test
