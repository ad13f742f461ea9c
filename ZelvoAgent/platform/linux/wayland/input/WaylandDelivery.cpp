#include "platform/linux/wayland/input/WaylandDelivery.h"

#include "base/Hop.h"
#include "platform/linux/system/PageProcesses.h"
#include "platform/linux/system/ProcessStat.h"

#include <algorithm>
#include <vector>

namespace zelvo {

namespace {

/// What a toolkit shows under the pointer has its place only with the next picture, within two 60ths of a
/// second.
constexpr Duration maxLayout = 35ms;
constexpr Duration betweenGlances = 10ms;
constexpr int glancesAtRest = 4;
constexpr Duration maxUnrest = 3s;

bool areAtRest(std::vector<std::int32_t> const& processes)
{
    return std::ranges::all_of(processes, [](std::int32_t pid) {
        auto const activity = activityOfProcess(pid);
        return !activity || activity->isAtRest;
    });
}

} // namespace

Task<bool> WaylandDelivery::wait()
{
    co_await clock.sleepThroughCancel(maxLayout);
    auto const look = [this] {
        std::vector<std::int32_t> processes;
        if (auto const pid = front()) {
            processes = pageProcessesOf(*pid);
            processes.push_back(*pid);
        }
        return processes;
    };
    auto const processes = co_await on(contexts.workers, look);
    if (processes.empty())
        co_return false;
    Instant const deadline = clock.now() + maxUnrest;
    for (int rested = 0; rested < glancesAtRest;) {
        if (clock.now() >= deadline)
            co_return false;
        co_await clock.sleepThroughCancel(betweenGlances);
        bool const atRest = co_await on(contexts.workers, [&] { return areAtRest(processes); });
        rested = atRest ? rested + 1 : 0;
    }
    co_return true;
}

} // namespace zelvo
