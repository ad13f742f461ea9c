#pragma once

#include "base/Clock.h"
#include "platform/portable/files/UniqueFd.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A lock file and a socket in one folder: the holder of the lock is the one instance, and later starts send
/// their URLs to the socket. The kernel releases the lock when the process ends, however it ends.
class InstanceSocket {
public:
    static constexpr std::size_t maxMessage = 64u << 10;
    static constexpr Duration patience = 2s;

    explicit InstanceSocket(std::filesystem::path folder) : folder(std::move(folder)) {}
    ~InstanceSocket();
    InstanceSocket(InstanceSocket const&) = delete;
    InstanceSocket& operator=(InstanceSocket const&) = delete;

    /// False if another process has the lock. True also if no lock can be created.
    bool lock();
    /// Sends URLs to the process that has the lock; blocks for at most `patience`. False if it did not accept
    /// them, or is another program: that gets nothing.
    bool handOver(std::vector<std::string> const& urls) const;
    /// Accepts messages of the same user, on the agent executor. The lock must be held.
    void serve(Executor agent, Clock& clock, std::function<void(std::vector<std::string>)> onUrls);

private:
    class Server;
    std::filesystem::path folder;
    UniqueFd lockFile;
    std::shared_ptr<Server> server;
};

} // namespace zelvo
