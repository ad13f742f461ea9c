#include "platform/linux/wayland/sway/SwayIpc.h"
#include "platform/linux/wayland/sway/SwayTree.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    if (auto const header = SwayHeader::parse(text); header && header->length > SwayHeader::longestPayload)
        std::abort();
    hasSucceeded(text);
    auto const windows = windowsOfTree(text);
    if (!windows)
        return 0;
    for (CompositorWindow const& window : *windows)
        if ((window.pid && *window.pid <= 0) || (window.isMinimized && window.isOnScreen))
            std::abort();
    return 0;
}
