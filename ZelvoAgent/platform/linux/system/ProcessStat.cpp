#include "platform/linux/system/ProcessStat.h"

#include <unistd.h>

#include <atomic>
#include <charconv>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zelvo {

namespace {

// Indices of the fields after the name in /proc/PID/stat.
constexpr std::size_t state = 0;
constexpr std::size_t userTime = 11;
constexpr std::size_t systemTime = 12;
constexpr std::size_t startTime = 19;

/// The fields after the name; fewer if there is no such process.
std::vector<std::string> fieldsAfterName(std::int32_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    std::getline(file, stat, '\0'); // Not with iterators, which throw if the process ends meanwhile.
    // The name in brackets may contain blanks and brackets.
    auto const name = stat.rfind(')');
    if (name == std::string::npos)
        return {};
    std::istringstream rest(stat.substr(name + 1));
    std::vector<std::string> fields;
    for (std::string field; rest >> field;)
        fields.push_back(field);
    return fields;
}

std::optional<std::chrono::milliseconds> timeIn(std::string const& field)
{
    std::int64_t ticks = 0;
    char const* const end = field.data() + field.size();
    if (field.empty() || std::from_chars(field.data(), end, ticks).ptr != end)
        return std::nullopt;
    return std::chrono::milliseconds(ticks * 1000 / ::sysconf(_SC_CLK_TCK));
}

/// The date at which the machine started. Two clocks cannot be read at once, so each look gives a slightly
/// different date: the first one is kept until somebody sets the clock.
std::chrono::system_clock::time_point bootDate()
{
    using Clock = std::chrono::system_clock;
    constexpr Clock::duration asGood = 100ms;
    static std::atomic<Clock::duration> known{};
    Clock::duration const seen = Clock::now().time_since_epoch() - sinceBoot();
    Clock::duration kept = known.load();
    if (std::chrono::abs(seen - kept) > asGood && known.compare_exchange_strong(kept, seen))
        kept = seen;
    return Clock::time_point(kept);
}

} // namespace

std::optional<std::chrono::nanoseconds> startOfProcess(std::int32_t pid)
{
    auto const fields = fieldsAfterName(pid);
    return fields.size() > startTime ? timeIn(fields[startTime]) : std::nullopt;
}

std::optional<Date> startDateOfProcess(std::int32_t pid)
{
    auto const start = startOfProcess(pid);
    if (!start)
        return std::nullopt;
    return std::chrono::floor<Date::duration>(bootDate() + *start);
}

std::optional<ProcessActivity> activityOfProcess(std::int32_t pid)
{
    auto const fields = fieldsAfterName(pid);
    if (fields.size() <= systemTime)
        return std::nullopt;
    auto const user = timeIn(fields[userTime]);
    auto const system = timeIn(fields[systemTime]);
    if (!user || !system)
        return std::nullopt;
    return ProcessActivity{.isAtRest = fields[state] != "R" && fields[state] != "D", .used = *user + *system};
}

std::chrono::nanoseconds sinceBoot()
{
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace zelvo
