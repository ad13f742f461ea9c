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

} // namespace zelvo
