#include "platform/linux/wayland/MonitorLayout.h"

#include <algorithm>

namespace zelvo {

std::uint32_t monitorId(std::string const& connector)
{
    // FNV-1a: the same in every run, and as good as unique among a handful of names.
    std::uint32_t hash = 2166136261U;
    for (char const letter : connector)
        hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
    return std::max(hash, 1U);
}

} // namespace zelvo
