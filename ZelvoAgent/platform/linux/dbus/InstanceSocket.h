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
    static constexpr Duration patience = 2s;       ///< with a message that arrives
    static constexpr Duration answerPatience = 5s; ///< with an instance that has the message

    enum class HandOver {
        done,       ///< also if the instance is too slow to answer: the message waits for it
        unanswered, ///< the holder of the lock is about to listen, or to end
        refused     ///< another program has the lock, or the URLs are too long
    };
    /// Answers whoever brought URLs, unless the process ends first. Thread: agent.
    using Answer = std::function<void(bool isTaken)>;
    using Take = std::function<void(std::vector<std::string> urls, Answer answer)>;

    explicit InstanceSocket(std::filesystem::path folder) : folder(std::move(folder)) {}
    ~InstanceSocket();
    InstanceSocket(InstanceSocket const&) = delete;
    InstanceSocket& operator=(InstanceSocket const&) = delete;

    /// False if another process has the lock. True also if no lock can be created.
    bool lock();
    /// Sends URLs to the process that has the lock; blocks for at most `answerPatience`.
    HandOver handOver(std::vector<std::string> const& urls) const;
    /// Accepts messages of the same user, on the agent executor. The lock must be held.
    void serve(Executor agent, Clock& clock, Take take);

private:
    class Server;
    std::filesystem::path folder;
    UniqueFd lockFile;
    std::shared_ptr<Server> server;
};

} // namespace zelvo
