#pragma once

#include "base/Clock.h"
#include "platform/portable/files/UniqueFd.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A lock file and a socket beside it, in one folder: who has the lock is the one instance, and the socket
/// takes what later starts bring. The lock ends with its process, however that ends.
class InstanceSocket {
public:
    static constexpr std::size_t maxMessage = 64u << 10;
    static constexpr Duration patience = 2s;

    explicit InstanceSocket(std::filesystem::path folder) : folder(std::move(folder)) {}
    ~InstanceSocket();
    InstanceSocket(InstanceSocket const&) = delete;
    InstanceSocket& operator=(InstanceSocket const&) = delete;

    /// False when another process holds the lock. True also where no lock can be made.
    bool lock();
    /// Brings URLs to the process that holds the lock; blocks for at most `patience`. False when it did not
    /// take them.
    bool handOver(std::vector<std::string> const& urls) const;
    /// Takes messages of the same user, with the lock held, on the agent executor.
    void serve(Executor agent, Clock& clock, std::function<void(std::vector<std::string>)> onUrls);

private:
    class Server;
    std::filesystem::path folder;
    UniqueFd lockFile;
    std::shared_ptr<Server> server;
};

} // namespace zelvo
