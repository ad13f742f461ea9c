#include "ZelvoGateway/metrics/ProcessFigures.h"

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

namespace zelvo::service {

namespace {

using prometheus::MetricFamily;
using prometheus::MetricType;

MetricFamily familyOf(std::string name, std::string help, MetricType type, double value)
{
    prometheus::ClientMetric metric;
    (type == MetricType::Counter ? metric.counter.value : metric.gauge.value) = value;
    return {std::move(name), std::move(help), type, {metric}};
}

double secondsOf(timeval const& time)
{
    constexpr double microseconds = 1e6;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / microseconds;
}

std::optional<double> residentBytes()
{
    std::ifstream statm("/proc/self/statm");
    double all = 0;
    double resident = 0;
    if (!(statm >> all >> resident))
        return std::nullopt;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

std::optional<double> openDescriptors()
{
    std::error_code error;
    std::filesystem::directory_iterator const entries("/proc/self/fd", error);
    if (error)
        return std::nullopt;
    return static_cast<double>(std::distance(begin(entries), end(entries)) -
                               1); // Without that of the listing.
}

} // namespace

ProcessFigures::ProcessFigures()
    : started(std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count())
{
}

std::vector<MetricFamily> ProcessFigures::Collect() const
{
    std::vector<MetricFamily> all;
    all.push_back(familyOf("process_start_time_seconds", "When the gateway was started, in Unix time.",
                           MetricType::Gauge, started));
    if (auto const bytes = residentBytes())
        all.push_back(
            familyOf("process_resident_memory_bytes", "Resident memory.", MetricType::Gauge, *bytes));
    if (auto const count = openDescriptors())
        all.push_back(familyOf("process_open_fds", "Open file descriptors.", MetricType::Gauge, *count));
    if (rlimit limit{}; ::getrlimit(RLIMIT_NOFILE, &limit) == 0)
        all.push_back(familyOf("process_max_fds", "How many there may be.", MetricType::Gauge,
                               static_cast<double>(limit.rlim_cur)));
    if (rusage usage{}; ::getrusage(RUSAGE_SELF, &usage) == 0)
        all.push_back(familyOf("process_cpu_seconds_total", "Processor time, of the user and of the system.",
                               MetricType::Counter, secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime)));
    return all;
}

} // namespace zelvo::service
