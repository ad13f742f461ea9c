#include "platform/linux/system/ProcessStart.h"

#include <unistd.h>

#include <charconv>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>

namespace zelvo {

std::optional<std::chrono::nanoseconds> startOfProcess(std::int32_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    std::getline(file, stat, '\0'); // Not by iterators, which throw when the process ends meanwhile.
    // The name in brackets may hold blanks and brackets; the start is the 20th field after it.
    auto const name = stat.rfind(')');
    if (name == std::string::npos)
        return std::nullopt;
    std::istringstream fields(stat.substr(name + 1));
    std::string field;
    for (int at = 0; at < 20; ++at)
        fields >> field;
    std::int64_t ticks = 0;
    char const* const end = field.data() + field.size();
    if (field.empty() || std::from_chars(field.data(), end, ticks).ptr != end)
        return std::nullopt;
    return std::chrono::milliseconds(ticks * 1000 / ::sysconf(_SC_CLK_TCK));
}

std::chrono::nanoseconds sinceBoot()
{
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace zelvo
