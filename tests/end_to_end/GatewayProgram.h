#pragma once

#include "desktop/harness/PrivateSession.h"
#include "wire/Json.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

/// The built gateway, running on a private desktop with a separate folder. Thread: the test's.
class GatewayProgram {
public:
    struct Answer {
        long status = 0;
        json::value body;
    };
    struct Provisioned {
        std::string token;
        std::string connection;
        std::string machine;
    };

    /// name   of its folder, for tests with several gateways
    /// flags  in addition to those for folder and port
    explicit GatewayProgram(PrivateSession& desktop,
                            std::string const& name = "gateway",
                            std::vector<std::string> flags = {});

    std::uint16_t port() const { return listeningPort; }
    /// Kills it, like a crash.
    void kill();
    /// Asks it to end, and waits for that; returns the exit code.
    int stop();
    /// Starts it again on the same port and folder, after it has ended.
    void startAgain() { start(listeningPort); }
    /// Restarts it on the same port and folder, possibly with other flags.
    void restart(std::vector<std::string> newFlags);

    Answer ask(std::string const& method, std::string const& path, json::value const& body = nullptr) const;
    /// The HTTP header that carries the API key.
    std::string authorization() const;
    /// A one-time link to the console.
    std::string consoleLink() const;
    /// A link URL for a session that asks for these scopes.
    std::string newLink(std::vector<std::string> const& scopes) const;
    std::vector<std::string> connections() const;
    Provisioned provision() const;
    /// Sends a command and returns any response.
    Answer command(std::string const& connection, std::string const& method, json::object params = {}) const;
    /// True if the machine answers a command.
    bool isOnline(std::string const& connection) const;
    /// Waits until it is online, at most `longest`.
    bool comesOnline(std::string const& connection, std::chrono::milliseconds longest = 20s) const;

private:
    void start(std::uint16_t port);
    std::string url(std::string const& path) const;

    PrivateSession& desktop;
    std::filesystem::path folder;
    std::vector<std::string> flags;
    pid_t process = 0;
    std::uint16_t listeningPort = 0;
};

} // namespace zelvo::test
