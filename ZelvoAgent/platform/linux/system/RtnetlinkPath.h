#pragma once

#include "base/Task.h"
#include "platform/NetworkPath.h"

#include <memory>

namespace zelvo {

/// The kernel's routes: the path is satisfied while a usable IPv4 or IPv6 default route exists. Reports once
/// at the start and at each change. If the kernel never answers, the path counts as satisfied.
class RtnetlinkPath final : public NetworkPath {
public:
    /// agent must belong to an io_context.
    explicit RtnetlinkPath(Executor agent);
    ~RtnetlinkPath() override;

    void start(std::string host, std::function<void(bool satisfied)> onUpdate) override;

    /// "localhost" and names under it, 127.0.0.0/8, ::1, brackets or not.
    static bool isLoopback(std::string const& host);

private:
    class Watcher;
    Executor agent;
    std::shared_ptr<Watcher> watcher;
};

} // namespace zelvo
