#include "platform/linux/applications/StartupId.h"

#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <ctime>

namespace zelvo {

std::string newStartupId()
{
    // The X server of this machine counts the same milliseconds.
    static std::atomic<unsigned> count = 0;
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    auto const milliseconds = static_cast<std::uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
    return "zelvo-" + std::to_string(::getpid()) + "-" + std::to_string(count++) + "_TIME" +
           std::to_string(milliseconds);
}

} // namespace zelvo
