#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/AgentProgram.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

/// A publisher of updates: a key, a server with TLS, and releases that are made with the repository's own
/// scripts. Thread: the test's.
class UpdateServer {
public:
    explicit UpdateServer(PrivateDesktop& desktop);

    /// Makes an agent one that was unpacked from an archive of this publisher.
    void prepare(AgentProgram& agent, std::string const& version) const;
    /// What the agent trusts this server by.
    Environment environment() const;
    /// Offers the agent's own program as another version.
    void publish(AgentProgram const& agent, std::string const& version) const;
    /// Whether bodies stop after 64 KiB.
    void setSlow(bool slow) const;
    /// The lines of requests.
    std::string requests() const { return desktop.processes().output(process); }

private:
    std::filesystem::path archive(AgentProgram const& agent, std::string const& version) const;
    std::string makeFeed(std::vector<std::string> const& arguments) const;

    PrivateDesktop& desktop;
    std::filesystem::path folder;
    std::filesystem::path served;
    std::string address;
    std::string publicKey;
    pid_t process = 0;
};

/// The version that the `Info.json` beside a program names.
std::string versionBeside(std::filesystem::path const& program);

} // namespace zelvo::test
