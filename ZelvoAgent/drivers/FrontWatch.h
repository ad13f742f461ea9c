#pragma once

#include "base/AsyncMutex.h"
#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/FrontChanges.h"
#include "platform/Workspace.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace zelvo {

/// Knows whether a hidden application or this program is in front. It looks again only after the desktop has
/// reported a change, so asking for every key costs nothing. Thread: any.
class FrontWatch {
public:
    FrontWatch(Contexts contexts,
               FrontChanges& changes,
               Workspace& workspace,
               HiddenAppsStore& hiddenApps,
               std::int32_t ownPid);

    /// Starts to listen.
    /// whenBarred  called on the agent executor when such a window has come to the front
    void start(std::function<void()> whenBarred);
    /// Whether keys would reach such a window now.
    Task<bool> isBarred();
    /// How often such a window has come to the front.
    std::uint64_t barrings() const { return count; }

private:
    struct Verdict {
        std::uint64_t change = 0; ///< the last change before the look
        bool isKnown = false;
        bool isBarred = false;
    };

    Task<bool> look();
    Task<bool> isFrontBarred();

    Contexts contexts;
    FrontChanges& frontChanges;
    Workspace& workspace;
    HiddenAppsStore& hiddenApps;
    std::int32_t ownPid;
    std::function<void()> onBarred;
    std::atomic<std::uint64_t> changes = 0;
    std::atomic<std::uint64_t> count = 0;
    LockedBox<Verdict> verdict;
    AsyncMutex looking;
};

} // namespace zelvo
