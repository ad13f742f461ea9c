#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::service {

/// A program, found by PATH, with its output in a file. It is killed at the end of the scope, and also if the
/// test itself is killed.
class ChildProcess {
public:
    ChildProcess(std::vector<std::string> arguments, std::filesystem::path const& output);
    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;
    ~ChildProcess();

    /// Waits for its end; the exit status, -1 after a signal.
    int wait();
    bool runs();
    /// Whether a program of this name is installed.
    static bool exists(std::string const& program);

private:
    pid_t pid = 0;
    int status = 0;
};

/// A port of 127.0.0.1 that nobody uses now.
std::uint16_t freePort();

} // namespace zelvo::service
