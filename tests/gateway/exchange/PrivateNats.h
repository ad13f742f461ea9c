#pragma once

#include "desktop/harness/ChildProcesses.h"
#include "gateway/support/Gateway.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// A NATS server on a free loopback port, ended with the object.
/// Thread: the test's main thread.
class PrivateNats {
public:
    /// Why there can be none here; `nullopt` if there can.
    static std::optional<std::string> missing();

    /// Throws std::runtime_error if it does not start.
    PrivateNats();
    ~PrivateNats();
    PrivateNats(PrivateNats const&) = delete;
    PrivateNats& operator=(PrivateNats const&) = delete;

    std::string url() const { return "nats://127.0.0.1:" + port; }
    /// Kills it.
    void kill();
    /// Starts it again on the same port.
    void restart();

private:
    void start(std::string const& wantedPort);

    TemporaryFolder folder;
    test::ChildProcesses processes;
    pid_t server = 0;
    std::string port;
};

} // namespace zelvo::service
