#pragma once

#include "gateway/support/Gateway.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

/// The built program with its output in a file. It is killed at the end of the scope.
class Program {
public:
    struct Options {
        std::vector<std::string> environment = {}; ///< "NAME=value", beside that of the test
        int input = -1;                            ///< a descriptor; -1 for the test's own input
    };

    Program(std::filesystem::path output, std::vector<std::string> arguments)
        : Program(std::move(output), std::move(arguments), Options())
    {
    }
    Program(std::filesystem::path output, std::vector<std::string> arguments, Options options);
    Program(Program const&) = delete;
    Program& operator=(Program const&) = delete;
    ~Program();

    /// Does nothing once it has ended.
    void send(int signal) const;
    pid_t id() const { return pid; }
    /// A figure of /proc/PID/status in MiB: "VmHWM" is the largest memory so far, "RssAnon" the heap of now.
    double memory(std::string const& name) const;
    /// The exit status, or the signal that ended it as a negative number.
    int wait();
    /// False if it still runs after this time.
    bool endsWithin(std::chrono::seconds patience);
    std::string text() const { return contentOf(output); }
    bool becomesText(std::string const& part) const;

private:
    std::filesystem::path output;
    pid_t pid = 0;
    int status = 0;
};

/// Folders for a gateway, and how it is started on them.
struct Place {
    TemporaryFolder folder;
    std::string data = folder.path / "data";

    std::string out(std::string const& name) const { return folder.path / name; }
    /// Waits until the gateway listens.
    std::uint16_t port() const;
    std::vector<std::string> serve() const
    {
        return {"--data", data, "--port", "0", "--port-file", folder.path / "port"};
    }
    std::string apiKey() const;
    Headers key() const { return {{"Authorization", "Bearer " + apiKey()}}; }
};

/// A machine of a gateway, made on the command line.
struct Provisioned {
    std::string token;
    std::string connectionId;
    std::string path; ///< for its commands
};

Provisioned provisioned(Place const& place, std::string const& name);
/// Uploads "a film" as the machine, and returns the path and query of its address.
std::string recordingOf(Place const& place, Provisioned const& made);

} // namespace zelvo::service
