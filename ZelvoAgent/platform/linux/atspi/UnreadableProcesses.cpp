#include "platform/linux/atspi/UnreadableProcesses.h"

#include "platform/linux/system/ProcessStat.h"

namespace zelvo {

void UnreadableProcesses::noteSwitchedOn()
{
    switchedOn.set(sinceBoot());
}

bool UnreadableProcesses::isNew(std::int32_t pid)
{
    auto const start = startOfProcess(pid);
    auto const since = switchedOn.get();
    if (!start || (since && *start > *since))
        return false;
    bool isFirst = false;
    reported.change([&](std::set<Process>& all) { isFirst = all.insert({pid, *start}).second; });
    return isFirst;
}

std::vector<std::int32_t> UnreadableProcesses::running() const
{
    std::vector<std::int32_t> pids;
    for (auto const& [pid, start] : reported.get())
        if (startOfProcess(pid) == start) // Not another process with the same id.
            pids.push_back(pid);
    return pids;
}

} // namespace zelvo
