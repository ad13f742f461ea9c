#include "platform/linux/atspi/UnreadableProcesses.h"

#include <unistd.h>

#include <charconv>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace zelvo {

namespace {

std::uint64_t ticksNow()
{
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    auto const ticks = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    return static_cast<std::uint64_t>(now.tv_sec) * ticks +
           static_cast<std::uint64_t>(now.tv_nsec) * ticks / 1'000'000'000u;
}

} // namespace

std::optional<std::uint64_t> startOfProcess(std::int32_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string const stat{std::istreambuf_iterator<char>(file), {}};
    // The name in brackets may hold blanks and brackets; the start is the 20th field after it.
    auto const name = stat.rfind(')');
    if (name == std::string::npos)
        return std::nullopt;
    std::istringstream fields(stat.substr(name + 1));
    std::string field;
    for (int at = 0; at < 20; ++at)
        fields >> field;
    std::uint64_t ticks = 0;
    char const* const end = field.data() + field.size();
    return std::from_chars(field.data(), end, ticks).ptr == end ? std::optional(ticks) : std::nullopt;
}

void UnreadableProcesses::noteSwitchedOn()
{
    switchedOn.set(ticksNow());
}

bool UnreadableProcesses::isNew(std::int32_t pid)
{
    auto const start = startOfProcess(pid);
    auto const since = switchedOn.get();
    if (!start || (since && *start > *since))
        return false;
    bool isFirst = false;
    told.change([&](std::set<Process>& all) { isFirst = all.insert({pid, *start}).second; });
    return isFirst;
}

} // namespace zelvo
