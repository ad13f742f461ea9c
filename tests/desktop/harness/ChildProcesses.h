#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zelvo::test {

using Environment = std::map<std::string, std::string>;

/// The processes that one test started, and their descendants. All of them have ended when this object is
/// destroyed: the test's process adopts orphans (subreaper), and processes with the mark are ended by process
/// id. Thread: the test's main thread, because the kernel ends a child when the thread that started it ends.
class ChildProcesses {
public:
    /// mark     an entry "NAME=value" of the environment that only this test's children have
    /// outputs  the folder for the children's output
    ChildProcesses(std::string mark, std::filesystem::path outputs);
    ~ChildProcesses();
    ChildProcesses(ChildProcesses const&) = delete;
    ChildProcesses& operator=(ChildProcesses const&) = delete;

    /// Starts a program in a separate process group, input from /dev/null, output into a file. Throws
    /// std::runtime_error if it can't be started.
    /// inherited  descriptors that the program gets under the same number
    pid_t start(std::vector<std::string> const& command,
                Environment const& environment,
                std::vector<int> const& inherited = {});
    bool isRunning(pid_t pid);
    /// Sends a child the signal, and kills it after a second. Returns its wait status; -1 if unknown.
    int end(pid_t pid, int firstSignal);
    /// Waits for a child to end; ends it after `seconds`. Returns its exit code, -signal after a signal.
    int waitForEnd(pid_t pid, int seconds);
    /// The output of a child so far, standard output and error.
    std::string output(pid_t pid) const;
    /// Ends all remaining processes.
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
